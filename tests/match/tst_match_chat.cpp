#include "match/chat_history.h"
#include "match/host_screen.h"
#include "match/join_screen.h"

#include "support/match_fixture.h"
#include "support/match_peer.h"

#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using F = MatchFixture;

class TestMatchChat : public QObject
{
    Q_OBJECT

private slots:
    void hostSends_data();
    void hostSends();
    void hostReceivesAndTypes_data();
    void hostReceivesAndTypes();
    void moveTakesOverTheBubble();
    void joinerLogsNothing();
    void lineBeforeConnectionIsDropped();

private:
    // What `label` shows after each tick of `timer`, until the timer stops.
    QStringList typed(MatchScreen *screen, const char *timer, const char *label);
};

QStringList TestMatchChat::typed(MatchScreen *screen, const char *timer, const char *label)
{
    QStringList steps;
    auto *t = screen->findChild<QTimer *>(QLatin1String(timer));
    // Connected after the screen's own handler, so it sees the label as that tick left it.
    auto connection = connect(t, &QTimer::timeout, screen,
                              [&] { steps << F::text(screen, QLatin1String(label)); });
    if (!QTest::qWaitFor([&] { return !t->isActive(); }, 20000))
        steps << QStringLiteral("<still typing>");
    disconnect(connection);
    return steps;
}

void TestMatchChat::hostSends_data()
{
    QTest::addColumn<bool>("byEnter");
    QTest::newRow("Send") << false;
    QTest::newRow("Enter") << true;
}

void TestMatchChat::hostSends()
{
    QFETCH(bool, byEnter);
    F f;
    MatchPeer peer;
    QVERIFY(f.openHostWithPeer(peer, QStringLiteral("Bob")));
    HostScreen *host = f.host.get();
    auto *box = host->findChild<QLineEdit *>(QStringLiteral("Text1"));
    // An empty box sends and logs nothing, by either way.
    F::click(host, "Command1");
    QTest::keyClick(box, Qt::Key_Return);
    QTest::keyClicks(box, QStringLiteral("hi"));
    if (byEnter)
        QTest::keyClick(box, Qt::Key_Return);
    else
        F::click(host, "Command1");

    QTRY_COMPARE_WITH_TIMEOUT(peer.messages.size(), 2, 10000);
    QCOMPARE(peer.messages.last(), QStringLiteral("msg: hi"));  // the first was the greeting
    QCOMPARE(f.chat->log(), QStringLiteral("Ani:  hi\r\n"));
    QCOMPARE(box->text(), QString());
    QCOMPARE(F::text(host, "OutM"), QStringLiteral("hi"));
    QVERIFY(F::visible(host, "Omsg"));
    QVERIFY(F::visible(host, "MOUT"));
    QCOMPARE(typed(host, "Timer2", "MOUT"), (QStringList{"h", "hi"}));
    // Whole for two seconds, then gone with its bubble.
    QVERIFY(F::visible(host, "Omsg"));
    QTRY_VERIFY_WITH_TIMEOUT(!F::visible(host, "Omsg"), 10000);
    QVERIFY(!F::visible(host, "MOUT"));
}

void TestMatchChat::hostReceivesAndTypes_data()
{
    QTest::addColumn<QString>("wire");
    QTest::addColumn<QString>("logged");
    QTest::newRow("hi") << "msg: hi" << "Bob:  hi\r\n";
    QTest::newRow("no space") << "msg:x" << "Bob: x\r\n";
    QTest::newRow("empty text") << "msg:" << "Bob: \r\n";
}

void TestMatchChat::hostReceivesAndTypes()
{
    QFETCH(QString, wire);
    F f;
    MatchPeer peer;
    QVERIFY(f.openHostWithPeer(peer, QStringLiteral("Bob")));
    HostScreen *host = f.host.get();
    QSignalSpy cues(host, &MatchScreen::cued);

    peer.send(wire);
    QTRY_VERIFY_WITH_TIMEOUT(F::visible(host, "Xmsg"), 10000);
    QTEST(f.chat->log(), "logged");
    QCOMPARE(cues.count(), 1);
    QCOMPARE(cues.first().first().toString(), QStringLiteral("mess"));

    // The bubble types the whole message, prefix included, one letter a tick.
    QStringList expected;
    for (int n = 1; n <= wire.size(); ++n)
        expected << wire.left(n);
    QCOMPARE(typed(host, "Timer1", "message"), expected);
    QVERIFY(F::visible(host, "message"));
    QTRY_VERIFY_WITH_TIMEOUT(!F::visible(host, "Xmsg"), 10000);
    QVERIFY(!F::visible(host, "message"));
}

void TestMatchChat::moveTakesOverTheBubble()
{
    F f;
    MatchPeer peer;
    QVERIFY(f.openHostWithPeer(peer, QStringLiteral("Bob")));
    HostScreen *host = f.host.get();
    F::clickPoint(host, QStringLiteral("A1"));
    QTRY_COMPARE_WITH_TIMEOUT(peer.messages.size(), 2, 10000);
    peer.send(QStringLiteral("msg: a long line to type"));
    QTRY_VERIFY_WITH_TIMEOUT(F::text(host, "message").size() >= 3, 10000);
    peer.send(QStringLiteral("B2"));
    QTRY_COMPARE_WITH_TIMEOUT(F::state(host, "B2"), QStringLiteral("X"), 10000);
    // The typewriter reads the last message, which is now the move.
    QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "message"), QStringLiteral("B2"), 10000);
}

void TestMatchChat::joinerLogsNothing()
{
    F f;
    ChatHistory joinerHistory;
    f.openHost(QStringLiteral("Ani"));
    JoinScreen *join = f.openJoin(QStringLiteral("Bob"));
    join->setChatHistory(&joinerHistory);
    HostScreen *host = f.host.get();
    QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "Xname"), QStringLiteral("Bob"), 15000);

    QTest::keyClicks(join->findChild<QWidget *>("Text1"), QStringLiteral("halo"));
    F::click(join, "Command1");
    QTRY_VERIFY_WITH_TIMEOUT(F::visible(host, "Xmsg"), 10000);
    QTest::keyClicks(host->findChild<QWidget *>("Text1"), QStringLiteral("hai"));
    F::click(host, "Command1");
    QTRY_VERIFY_WITH_TIMEOUT(F::visible(join, "Omsg"), 10000);
    QVERIFY(F::visible(join, "Xmsg"));

    QCOMPARE(f.chat->log(), QStringLiteral("Bob:  halo\r\nAni:  hai\r\n"));
    QCOMPARE(joinerHistory.log(), QString());
}

void TestMatchChat::lineBeforeConnectionIsDropped()
{
    F f;
    HostScreen *host = f.openHost(QStringLiteral("Ani"));
    auto *box = host->findChild<QLineEdit *>(QStringLiteral("Text1"));
    QTest::keyClicks(box, QStringLiteral("halo"));
    QTest::keyClick(box, Qt::Key_Return);
    QCOMPARE(box->text(), QStringLiteral("halo"));  // kept, so it can be sent later
    QVERIFY(!F::visible(host, "Omsg"));
    QCOMPARE(f.chat->log(), QString());
    QVERIFY(!F::text(host, "status").isEmpty());
    // The history opens before any line too.
    QVERIFY(!f.chat->isVisible());
    F::click(host, "Command5");
    QVERIFY(f.chat->isVisible());
    QCOMPARE(f.chat->windowTitle(), QStringLiteral("Chat History"));

    JoinScreen *join = f.openJoin(QStringLiteral("Bob"), QStringLiteral(""));
    QTest::keyClicks(join->findChild<QWidget *>("Text1"), QStringLiteral("halo"));
    F::click(join, "Command1");
    QVERIFY(!F::visible(join, "Xmsg"));
}

QTEST_MAIN(TestMatchChat)
#include "tst_match_chat.moc"
