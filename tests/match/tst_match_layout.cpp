#include "match/host_screen.h"
#include "match/join_screen.h"

#include "platform/screen_font.h"
#include "support/layout_check.h"

#include <QtTest>

// Both match screens against the felt of the "Match" picture: the scoreboard on the side
// panel, the chat and buttons on the lower panel, nothing on top of anything else, and
// every caption whole, with the most shown that is ever shown at once.
class MatchLayoutTest : public QObject
{
    Q_OBJECT

private slots:
    // The font the program settles on before its first screen.
    void initTestCase() { ScreenFont::settle(); }

    void laidOut_data()
    {
        QTest::addColumn<bool>("host");
        QTest::addColumn<QStringList>("scoreboard");
        QTest::newRow("host") << true << QStringList{"Label3", "info"};
        QTest::newRow("join") << false << QStringList{"Label2", "Label5"};
    }

    void laidOut()
    {
        QFETCH(bool, host);
        QFETCH(QStringList, scoreboard);
        std::unique_ptr<MatchScreen> s;
        if (host)
            s = std::make_unique<HostScreen>();
        else
            s = std::make_unique<JoinScreen>(QStringLiteral("127.0.0.1"));
        // The felt areas the "Match" picture paints beside and under the board.
        scoreboard += QStringList{"Label1", "GIL", "Oname", "Xname", "WRL", "WRL2", "XO"};
        QStringList found = LayoutCheck::outside(s.get(), scoreboard, QRect(QPoint(504, 6), QPoint(633, 298)));
        found += LayoutCheck::outside(s.get(), {"Omsg", "Xmsg", "MOUT", "message", "Text1", "Command1",
                                                "Command2", "Command3", "Command5", "status"},
                                      QRect(QPoint(6, 312), QPoint(633, 473)));

        // Both bubbles up, each with its text typed over it: on the host its own line goes
        // on O's bubble. "Restart" as it looks once a joiner is there.
        const QString own = host ? QStringLiteral("Omsg") : QStringLiteral("Xmsg");
        const QString other = host ? QStringLiteral("Xmsg") : QStringLiteral("Omsg");
        for (const QString &name : {own, other})
            s->findChild<QWidget *>(name)->setVisible(true);
        s->findChild<QWidget *>("Command3")->setEnabled(true);
        found += LayoutCheck::overlaps(s.get(), {own + "/MOUT", other + "/message"});
        for (const auto &[text, bubble] : {std::pair{"MOUT", own}, std::pair{"message", other}}) {
            if (!s->findChild<QWidget *>(bubble)->geometry().contains(s->findChild<QWidget *>(text)->geometry()))
                found << QStringLiteral("%1 outside %2").arg(QLatin1String(text), bubble);
        }
        found += LayoutCheck::cramped(s.get());
        QVERIFY2(found.isEmpty(), qPrintable(found.join(u", ")));
    }
};

QTEST_MAIN(MatchLayoutTest)
#include "tst_match_layout.moc"
