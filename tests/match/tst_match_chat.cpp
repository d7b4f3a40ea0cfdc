#include "match/chat_history.h"
#include "match/host_screen.h"
#include "match/join_screen.h"

#include "support/match_fixture.h"

#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using F = MatchFixture;

// The chat between two screens: what is typed goes out, is logged on the host only, and
// is typed into the bubbles. The typewriters' steps are the model's; here the screens.
class TestMatchChat : public QObject
{
    Q_OBJECT

private slots:
    void bothWays();
    void lineBeforeConnectionIsKept();

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

void TestMatchChat::bothWays()
{
    F f;
    ChatHistory joinerHistory;
    f.openHost(QStringLiteral("Ani"));
    JoinScreen *join = f.openJoin(QStringLiteral("Bob"));
    join->setChatHistory(&joinerHistory);
    HostScreen *host = f.host.get();
    QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "Xname"), QStringLiteral("Bob"), 15000);
    QSignalSpy cues(host, &MatchScreen::cued);

    // An empty box sends nothing, by either way.
    auto *box = host->findChild<QLineEdit *>(QStringLiteral("Text1"));
    F::click(host, "Command1");
    QTest::keyClick(box, Qt::Key_Return);

    QTest::keyClicks(join->findChild<QWidget *>("Text1"), QStringLiteral("hi"));
    F::click(join, "Command1");
    QTRY_VERIFY_WITH_TIMEOUT(F::visible(host, "Xmsg"), 10000);
    QCOMPARE(cues.count(), 1);
    QCOMPARE(cues.first().first().toString(), QStringLiteral("mess"));
    QCOMPARE(typed(host, "Timer1", "message"), (QStringList{"m", "ms", "msg", "msg:", "msg: ", "msg: h", "msg: hi"}));
    QVERIFY(F::visible(join, "Xmsg") && F::visible(join, "MOUT"));

    QTest::keyClicks(box, QStringLiteral("hai"));
    QTest::keyClick(box, Qt::Key_Return);
    QCOMPARE(box->text(), QString());
    QCOMPARE(F::text(host, "OutM"), QStringLiteral("hai"));
    QCOMPARE(typed(host, "Timer2", "MOUT"), (QStringList{"h", "ha", "hai"}));
    QTRY_VERIFY_WITH_TIMEOUT(F::visible(join, "Omsg"), 10000);

    // Whole for two seconds, then gone with its bubble.
    QVERIFY(F::visible(host, "Omsg"));
    QTRY_VERIFY_WITH_TIMEOUT(!F::visible(host, "Omsg") && !F::visible(host, "MOUT"), 10000);
    QTRY_VERIFY_WITH_TIMEOUT(!F::visible(host, "Xmsg") && !F::visible(host, "message"), 10000);

    // Only the host logs, its own lines and the joiner's, with the double space.
    QCOMPARE(f.chat->log(), QStringLiteral("Bob:  hi\r\nAni:  hai\r\n"));
    QCOMPARE(joinerHistory.log(), QString());
}

void TestMatchChat::lineBeforeConnectionIsKept()
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
}

QTEST_MAIN(TestMatchChat)
#include "tst_match_chat.moc"
