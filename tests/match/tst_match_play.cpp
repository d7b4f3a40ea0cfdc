#include "match/chat_history.h"
#include "match/host_screen.h"
#include "match/join_screen.h"
#include "platform/settings.h"

#include "support/match_fixture.h"
#include "support/match_peer.h"

#include <QHostAddress>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>
#include <QTimer>

using F = MatchFixture;

// The two match screens over loopback, with each other or with a bare socket that records
// what a screen sends. The rules and the typewriters' steps are the model's and its test's;
// here what the screens show of them, what reaches the wire, and the ends of a connection.
class TestMatchPlay : public QObject
{
    Q_OBJECT

private slots:
    void joinAddressForms_data()
    {
        QTest::addColumn<QString>("form");  // %1: the host's port
        QTest::newRow("address:port") << "127.0.0.1:%1";
        QTest::newRow("registry name with ports") << "127.0.0.1_%1_79";
        QTest::newRow("blanks around") << "  127.0.0.1:%1 ";
    }

    void joinAddressForms()
    {
        QFETCH(QString, form);
        MatchFixture match;
        QVERIFY(match.env.isValid());
        match.openHost(QStringLiteral("Ani"));
        // The standard port now leads nowhere: only the port in the address can reach Ani.
        // (Each fixture sets its own port again.)
        qputenv("DORVALA_MATCH_PORT", QByteArray::number(MatchEnv::freePort()));
        match.openJoin(QStringLiteral("Budi"), form.arg(match.env.port()));
        QTRY_COMPARE_WITH_TIMEOUT(MatchFixture::text(match.host.get(), "Xname"), QStringLiteral("Budi"), 15000);
    }

    void hostOpening()
    {
        F f;
        HostScreen *host = f.openHost(QStringLiteral("Ani"));
        QCOMPARE(host->windowTitle(), "Dorvala Online :: Host IP : 127.0.0.1 :: " + Settings::localHostName());
        QCOMPARE(F::text(host, "infox"), "Menunggu Koneksi User Client");
        QVERIFY(F::visible(host, "trans") && !F::enabled(host, "Command1") && !F::enabled(host, "Command3"));

        QSignalSpy cues(host, &MatchScreen::cued);
        MatchPeer peer;
        QVERIFY(peer.connectTo(f.env.port()));
        QTRY_COMPARE_WITH_TIMEOUT(peer.messages, QStringList{"OAni"}, 10000);
        QCOMPARE(F::text(host, "info"), "Connect!");
        QVERIFY(!F::visible(host, "trans") && !F::visible(host, "infox"));
        QVERIFY(F::enabled(host, "Command1") && F::enabled(host, "Command3"));
        QCOMPARE(cues.count(), 1);
        QCOMPARE(cues.first().first().toString(), "OL");

        // A Score is answered by exactly one Score, a moment later.
        peer.send(QStringLiteral("$7"));
        QTRY_COMPARE_WITH_TIMEOUT(peer.messages, (QStringList{"OAni", "$0"}), 10000);
        QCOMPARE(F::text(host, "WRL2"), "7");
        peer.send(QStringLiteral("XBob"));
        QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "Xname"), "Bob", 10000);
        QTest::qWait(300);
        QCOMPARE(peer.messages.size(), 2);
    }

    void joinOpening()
    {
        F f;
        MatchPeer host;
        QVERIFY(host.listen(f.env.port()));
        JoinScreen *join = f.openJoin(QStringLiteral("Bob"));
        QCOMPARE(join->windowTitle(), "Dorvala Online :: CLient IP : 127.0.0.1");
        QVERIFY(!F::enabled(join, "A1") && F::enabled(join, "Command1") && !F::visible(join, "infox"));
        // The total at once, the name a second later.
        QTRY_COMPARE_WITH_TIMEOUT(host.messages, (QStringList{"$0", "XBob"}), 10000);
        QVERIFY2(host.arrivedAfter.at(1) >= 800, qPrintable(QString::number(host.arrivedAfter.at(1))));
        host.sendRaw("OAni");
        QTRY_COMPARE_WITH_TIMEOUT(F::text(join, "Oname"), "Ani", 10000);
        host.sendRaw("$4");
        QTRY_COMPARE_WITH_TIMEOUT(F::text(join, "WRL2"), "4", 10000);
    }

    void wholeMatch()
    {
        F f;
        QVERIFY(f.startMatch(QStringLiteral("Ani"), QStringLiteral("Bob")));
        HostScreen *host = f.host.get();
        JoinScreen *join = f.join.get();

        // The host moves first; the joiner's board is locked until the move arrives.
        F::clickPoint(join, "A1");
        QTest::qWait(100);
        QCOMPARE(F::state(join, "A1"), QString());

        const auto move = [&](MatchScreen *mover, MatchScreen *other, const char *cell, const char *mark) {
            F::clickPoint(mover, cell);
            QCOMPARE(F::state(mover, cell), QLatin1String(mark));
            QVERIFY(!F::enabled(mover, cell));
            // A winning move may already have turned into its scored form.
            QTRY_VERIFY_WITH_TIMEOUT(F::state(other, cell).startsWith(QLatin1String(mark)), 10000);
            QVERIFY(F::enabled(other, "A1"));
        };
        move(host, join, "A1", "O");
        move(join, host, "B1", "X");
        move(host, join, "A2", "O");
        move(join, host, "B3", "X");
        move(host, join, "A3", "O");

        QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "infox"), "Anda Menang!", 10000);
        QTRY_COMPARE_WITH_TIMEOUT(F::text(join, "infox"), "Anda Kalah!", 10000);
        QVERIFY(F::visible(host, "trans") && F::visible(join, "trans"));
        QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "WRL"), "1", 10000);
        QTRY_COMPARE_WITH_TIMEOUT(F::text(join, "WRL"), "-1", 10000);
        QCOMPARE(F::state(join, "A2"), "O2");

        // Restart clears both boards, exchanges totals, and leaves the joiner to move first.
        F::click(host, "Command3");
        QTRY_COMPARE_WITH_TIMEOUT(F::state(join, "A1"), QString(), 10000);
        QCOMPARE(F::state(host, "A1"), QString());
        QVERIFY(!F::visible(host, "trans") && !F::visible(join, "trans"));
        QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "WRL2"), "-1", 10000);
        QTRY_COMPARE_WITH_TIMEOUT(F::text(join, "WRL2"), "1", 10000);
        QVERIFY(!F::enabled(host, "A1"));
        move(join, host, "C1", "X");
    }

    void chat()
    {
        F f;
        ChatHistory joinerHistory;
        HostScreen *host = f.openHost(QStringLiteral("Ani"));
        // An empty box does nothing; a line typed before anybody is there stays in the box,
        // unsent and unlogged, and the player is told.
        auto *box = host->findChild<QLineEdit *>(QStringLiteral("Text1"));
        F::click(host, "Command1");
        QVERIFY(F::text(host, "status").isEmpty());
        QTest::keyClicks(box, QStringLiteral("hai"));
        QTest::keyClick(box, Qt::Key_Return);
        QCOMPARE(box->text(), "hai");
        QVERIFY(!F::visible(host, "Omsg") && !F::text(host, "status").isEmpty());

        JoinScreen *join = f.openJoin(QStringLiteral("Bob"));
        join->setChatHistory(&joinerHistory);
        QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "Xname"), "Bob", 15000);
        QSignalSpy cues(host, &MatchScreen::cued);
        QTest::keyClicks(join->findChild<QWidget *>("Text1"), QStringLiteral("hi"));
        F::click(join, "Command1");
        QTRY_VERIFY_WITH_TIMEOUT(F::visible(host, "Xmsg"), 10000);
        QCOMPARE(cues.count(), 1);
        QCOMPARE(cues.first().first().toString(), "mess");
        QCOMPARE(typed(host, "Timer1", "message"), (QStringList{"m", "ms", "msg", "msg:", "msg: ", "msg: h", "msg: hi"}));

        QTest::keyClick(box, Qt::Key_Return);
        QCOMPARE(box->text(), QString());
        QCOMPARE(typed(host, "Timer2", "MOUT"), (QStringList{"h", "ha", "hai"}));
        QTRY_VERIFY_WITH_TIMEOUT(F::visible(join, "Omsg"), 10000);
        // Whole for two seconds, then gone with its bubble.
        QVERIFY(F::visible(host, "Omsg"));
        QTRY_VERIFY_WITH_TIMEOUT(!F::visible(host, "Omsg") && !F::visible(host, "MOUT"), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(!F::visible(host, "Xmsg") && !F::visible(host, "message"), 10000);
        // Only the host logs, its own lines and the joiner's, with the double space.
        QCOMPARE(f.chat->log(), "Bob:  hi\r\nAni:  hai\r\n");
        QCOMPARE(joinerHistory.log(), QString());
        F::click(host, "Command5");
        QVERIFY(f.chat->isVisible());
    }

    void joinerLeaves()
    {
        F f;
        QVERIFY(f.startMatch(QStringLiteral("Ani"), QStringLiteral("Bob")));
        HostScreen *host = f.host.get();
        f.join->close();
        QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "infox"), "Koneksi Terputus", 10000);
        QVERIFY(F::visible(host, "trans") && F::visible(host, "infox"));
        for (const char *control : {"Command1", "Text1", "Command3"})
            QVERIFY2(!F::enabled(host, control), control);

        // The host never listens again: a second joiner is refused, is told so (the sentences
        // are the socket test's), and can still leave.
        f.join.reset();
        JoinScreen *second = f.openJoin(QStringLiteral("Cici"));
        QTRY_COMPARE_WITH_TIMEOUT(F::text(second, "infox"),
                                  "Tidak dapat terhubung ke 127.0.0.1: koneksi ditolak.", 15000);
        QVERIFY(F::visible(second, "infox"));
        QCOMPARE(F::text(host, "Xname"), "Bob");
        QSignalSpy leave(second, &MatchScreen::closeRequested);
        F::click(second, "Command2");
        QCOMPARE(leave.count(), 1);
    }

    void hostLeaves()
    {
        F f;
        QVERIFY(f.startMatch(QStringLiteral("Ani"), QStringLiteral("Bob")));
        QSignalSpy closing(f.host.get(), &HostScreen::closing);
        QSignalSpy leave(f.host.get(), &MatchScreen::closeRequested);
        F::click(f.host.get(), "Command2");
        QCOMPARE(leave.count(), 1);
        QCOMPARE(closing.count(), 1);
        QCOMPARE(closing.first().first().toString(), "127.0.0.1");
        QTRY_COMPARE_WITH_TIMEOUT(F::text(f.join.get(), "infox"), "Koneksi Terputus", 10000);
        QVERIFY(!F::enabled(f.join.get(), "Command1") && !F::enabled(f.join.get(), "Text1"));
        f.host.reset();
        QCOMPARE(closing.count(), 1);
    }

    void hostCannotListen()
    {
        F f;
        QTcpServer squatter;
        QVERIFY(squatter.listen(QHostAddress::Any, f.env.port()));
        auto host = std::make_unique<HostScreen>();
        QSignalSpy opened(host.get(), &HostScreen::opened);
        QSignalSpy closing(host.get(), &HostScreen::closing);
        host->Form_Load();
        QCOMPARE(F::text(host.get(), "infox"), QStringLiteral("Port %1 sedang dipakai program lain.").arg(f.env.port()));
        QVERIFY(F::visible(host.get(), "infox"));
        QCOMPARE(opened.count(), 1);
        QCOMPARE(closing.count(), 1);  // not left in the lobby
        host->close();
        QCOMPARE(closing.count(), 1);
    }

private:
    // What `label` shows after each tick of `timer`, until the timer stops.
    static QStringList typed(MatchScreen *screen, const char *timer, const char *label)
    {
        QStringList steps;
        auto *t = screen->findChild<QTimer *>(QLatin1String(timer));
        // Connected after the screen's own handler, so it sees the label as that tick left it.
        auto connection = connect(t, &QTimer::timeout, screen, [&] { steps << F::text(screen, label); });
        if (!QTest::qWaitFor([&] { return !t->isActive(); }, 20000))
            steps << QStringLiteral("<still typing>");
        disconnect(connection);
        return steps;
    }
};

QTEST_MAIN(TestMatchPlay)
#include "tst_match_play.moc"
