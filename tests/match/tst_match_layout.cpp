#include "match/host_screen.h"
#include "match/join_screen.h"

#include "support/layout_check.h"
#include "support/match_env.h"

#include <QtTest>

#include <memory>

// Both match screens against the felt of the "Match" picture: the scoreboard on the side
// panel, the chat and buttons on the lower panel, nothing on top of anything else, and
// the two sides arranged alike.
class MatchLayoutTest : public QObject
{
    Q_OBJECT

private:
    // The felt areas the "Match" picture paints beside and under the board.
    static constexpr QRect SidePanel{QPoint(504, 6), QPoint(633, 298)};
    static constexpr QRect LowerPanel{QPoint(6, 312), QPoint(633, 473)};

    static std::unique_ptr<MatchScreen> screen(const QString &side)
    {
        if (side == QLatin1String("host"))
            return std::make_unique<HostScreen>(nullptr);
        return std::make_unique<JoinScreen>(QStringLiteral("127.0.0.1"), nullptr);
    }

private slots:
    void onItsPanel_data()
    {
        QTest::addColumn<QString>("side");
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QRect>("area");
        const QStringList board{"Label1", "GIL", "Oname", "Xname", "WRL", "WRL2", "XO"};
        const QStringList lower{"Omsg",     "Xmsg",     "MOUT",     "message", "Text1",
                                "Command1", "Command2", "Command3", "Command5", "status"};
        QTest::newRow("host scoreboard") << "host" << board + QStringList{"Label3", "info"} << SidePanel;
        QTest::newRow("join scoreboard") << "join" << board + QStringList{"Label2", "Label5"} << SidePanel;
        QTest::newRow("host chat") << "host" << lower << LowerPanel;
        QTest::newRow("join chat") << "join" << lower << LowerPanel;
    }

    void onItsPanel()
    {
        QFETCH(QString, side);
        QFETCH(QStringList, names);
        QFETCH(QRect, area);
        const QStringList found = LayoutCheck::outside(screen(side).get(), names, area);
        QVERIFY2(found.isEmpty(), qPrintable(found.join(u", ")));
    }

    void nothingCoversAnotherAndCaptionsAreWhole_data()
    {
        QTest::addColumn<QString>("side");
        QTest::newRow("host") << "host";
        QTest::newRow("join") << "join";
    }

    void nothingCoversAnotherAndCaptionsAreWhole()
    {
        QFETCH(QString, side);
        const auto s = screen(side);
        // Both bubbles up: the most that is ever shown at once.
        for (const char *name : {"Omsg", "Xmsg"})
            s->findChild<QWidget *>(name)->setVisible(true);
        // Each bubble's text is typed over it: on the host its own line goes on O's bubble.
        const bool host = side == QLatin1String("host");
        const QString own = host ? QStringLiteral("Omsg") : QStringLiteral("Xmsg");
        const QString other = host ? QStringLiteral("Xmsg") : QStringLiteral("Omsg");
        const QStringList found =
            LayoutCheck::overlaps(s.get(), {own + QStringLiteral("/MOUT"), other + QStringLiteral("/message")});
        QVERIFY2(found.isEmpty(), qPrintable(found.join(u", ")));
        for (const auto &[text, bubble] : {std::pair{QStringLiteral("MOUT"), own},
                                           std::pair{QStringLiteral("message"), other}}) {
            const QRect box = s->findChild<QWidget *>(text)->geometry();
            QVERIFY2(s->findChild<QWidget *>(bubble)->geometry().contains(box), qPrintable(text));
        }

        // Every caption whole, "Restart" as it looks once a joiner is there.
        s->findChild<QWidget *>("Command3")->setEnabled(true);
        const QStringList cramped = LayoutCheck::cramped(s.get());
        QVERIFY2(cramped.isEmpty(), qPrintable(cramped.join(u", ")));
    }

    void bothSidesAlike_data()
    {
        QTest::addColumn<QString>("name");
        // The host's own total is WRL, the joiner's is WRL2 for the same card (O), and the
        // other way round for X.
        QTest::addColumn<QString>("joinName");
        for (const char *name : {"Label1", "GIL", "Oname", "XO", "Text1", "Command1", "Command2",
                                 "Command3", "Command5", "Omsg", "Xmsg"})
            QTest::newRow(name) << name << name;
        QTest::newRow("O's total") << "WRL" << "WRL2";
        QTest::newRow("O's caption") << "Label3" << "Label2";
    }

    void bothSidesAlike()
    {
        QFETCH(QString, name);
        QFETCH(QString, joinName);
        const auto host = screen(QStringLiteral("host"));
        const auto join = screen(QStringLiteral("join"));
        const auto *onHost = host->findChild<QWidget *>(name);
        const auto *onJoin = join->findChild<QWidget *>(joinName);
        QVERIFY(onHost && onJoin);
        QCOMPARE(onJoin->geometry(), onHost->geometry());
    }

    void cardsKeepTheirOrder_data()
    {
        QTest::addColumn<QString>("side");
        QTest::addColumn<QStringList>("topToBottom");
        QTest::newRow("host") << "host"
                              << QStringList{"Label1", "Label3", "Oname", "WRL", "Xname", "WRL2", "XO", "info"};
        QTest::newRow("join") << "join"
                              << QStringList{"Label1", "Label2", "Oname", "WRL2", "Label5", "Xname", "WRL", "XO"};
    }

    void cardsKeepTheirOrder()
    {
        // Caption over the name, the name over its total, O's card over X's.
        QFETCH(QString, side);
        QFETCH(QStringList, topToBottom);
        const auto s = screen(side);
        for (qsizetype i = 1; i < topToBottom.size(); ++i) {
            const auto *above = s->findChild<QWidget *>(topToBottom[i - 1]);
            const auto *below = s->findChild<QWidget *>(topToBottom[i]);
            QVERIFY2(above->geometry().bottom() < below->geometry().top(),
                     qPrintable(LayoutCheck::where(above) + QStringLiteral(" / ") + LayoutCheck::where(below)));
        }
    }
};

QTEST_MAIN(MatchLayoutTest)
#include "tst_match_layout.moc"
