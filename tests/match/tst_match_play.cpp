#include "match/host_screen.h"
#include "match/join_screen.h"
#include "match/match_socket.h"
#include "platform/settings.h"

#include "support/match_fixture.h"
#include "support/match_peer.h"

#include <QHostAddress>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>

using F = MatchFixture;

// A whole match between a host and a joiner screen over loopback, and each side's half of
// the opening exchange against a bare socket that records what the screen sends.
class TestMatchPlay : public QObject
{
    Q_OBJECT

private slots:
    void hostOpening();
    void joinOpening();
    void wholeMatch();
    void joinerLeaves();
    void hostLeaves();
    void failures_data();
    void failures();
    void hostCannotListen();
};

void TestMatchPlay::hostOpening()
{
    F f;
    HostScreen *host = f.openHost(QStringLiteral("Ani"));
    QCOMPARE(host->windowTitle(),
             "Dorvala Online :: Host IP : 127.0.0.1 :: " + Settings::localHostName());
    QCOMPARE(F::text(host, "infox"), QStringLiteral("Menunggu Koneksi User Client"));
    QVERIFY(F::visible(host, "trans"));
    QVERIFY(!F::enabled(host, "Command1"));
    QVERIFY(!F::enabled(host, "Command3"));

    QSignalSpy cues(host, &MatchScreen::cued);
    MatchPeer peer;
    QVERIFY(peer.connectTo(f.env.port()));
    QTRY_COMPARE_WITH_TIMEOUT(peer.messages, QStringList{QStringLiteral("OAni")}, 10000);
    QCOMPARE(F::text(host, "info"), QStringLiteral("Connect!"));
    QVERIFY(!F::visible(host, "trans"));
    QVERIFY(!F::visible(host, "infox"));
    QVERIFY(F::enabled(host, "Command1"));
    QVERIFY(F::enabled(host, "Command3"));
    QCOMPARE(cues.count(), 1);
    QCOMPARE(cues.first().first().toString(), QStringLiteral("OL"));

    // Each Score is answered by exactly one Score, a moment later.
    peer.send(QStringLiteral("$7"));
    QTRY_COMPARE_WITH_TIMEOUT(peer.messages.size(), 2, 10000);
    QCOMPARE(peer.messages.last(), QStringLiteral("$0"));
    QCOMPARE(F::text(host, "WRL2"), QStringLiteral("7"));
    QTest::qWait(300);
    QCOMPARE(peer.messages.size(), 2);

    peer.send(QStringLiteral("XBob"));
    QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "Xname"), QStringLiteral("Bob"), 10000);
    QCOMPARE(peer.messages.size(), 2);
}

void TestMatchPlay::joinOpening()
{
    F f;
    MatchPeer host;
    QVERIFY(host.listen(f.env.port()));
    JoinScreen *join = f.openJoin(QStringLiteral("Bob"));
    QCOMPARE(join->windowTitle(), QStringLiteral("Dorvala Online :: CLient IP : 127.0.0.1"));
    QVERIFY(!F::enabled(join, "A1"));
    QVERIFY(F::enabled(join, "Command1"));
    QVERIFY(!F::visible(join, "infox"));
    QCOMPARE(F::text(join, "infox"), QStringLiteral("Kamu Kalah!"));

    QTRY_COMPARE_WITH_TIMEOUT(host.messages.size(), 2, 10000);
    QCOMPARE(host.messages, (QStringList{QStringLiteral("$0"), QStringLiteral("XBob")}));
    QVERIFY2(host.arrivedAfter.at(1) >= 800, qPrintable(QString::number(host.arrivedAfter.at(1))));

    host.sendRaw("OAni");
    QTRY_COMPARE_WITH_TIMEOUT(F::text(join, "Oname"), QStringLiteral("Ani"), 10000);
    host.sendRaw("$4");
    QTRY_COMPARE_WITH_TIMEOUT(F::text(join, "WRL2"), QStringLiteral("4"), 10000);
    QTest::qWait(200);
    QCOMPARE(host.messages.size(), 2);  // the joiner does not answer a Score
}

void TestMatchPlay::wholeMatch()
{
    F f;
    QVERIFY(f.startMatch(QStringLiteral("Ani"), QStringLiteral("Bob")));
    HostScreen *host = f.host.get();
    JoinScreen *join = f.join.get();
    QCOMPARE(F::text(host, "WRL2"), QStringLiteral("0"));

    // The host moves first; the joiner's board is locked until the move arrives.
    F::clickPoint(join, "A1");
    QTest::qWait(100);
    QCOMPARE(F::state(join, "A1"), QString());

    const auto move = [&](MatchScreen *mover, MatchScreen *other, const char *cell, const char *mark) {
        F::clickPoint(mover, cell);
        QCOMPARE(F::state(mover, cell), QString::fromLatin1(mark));
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

    QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "infox"), QStringLiteral("Anda Menang!"), 10000);
    QTRY_COMPARE_WITH_TIMEOUT(F::text(join, "infox"), QStringLiteral("Anda Kalah!"), 10000);
    QVERIFY(F::visible(host, "trans") && F::visible(join, "trans"));
    QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "WRL"), QStringLiteral("1"), 10000);
    QTRY_COMPARE_WITH_TIMEOUT(F::text(join, "WRL"), QStringLiteral("-1"), 10000);
    QCOMPARE(F::state(host, "A2"), QStringLiteral("O2"));
    QCOMPARE(F::state(join, "A2"), QStringLiteral("O2"));

    // Restart clears both boards, exchanges totals, and leaves the joiner to move first. The
    // games after it are the demo's to play.
    F::click(host, "Command3");
    QTRY_COMPARE_WITH_TIMEOUT(F::state(join, "A1"), QString(), 10000);
    QCOMPARE(F::state(host, "A1"), QString());
    QVERIFY(!F::visible(host, "trans") && !F::visible(join, "trans"));
    QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "WRL2"), QStringLiteral("-1"), 10000);
    QTRY_COMPARE_WITH_TIMEOUT(F::text(join, "WRL2"), QStringLiteral("1"), 10000);
    QVERIFY(!F::enabled(host, "A1"));
    QVERIFY(F::enabled(join, "A1"));
    move(join, host, "C1", "X");
}

void TestMatchPlay::joinerLeaves()
{
    F f;
    QVERIFY(f.startMatch(QStringLiteral("Ani"), QStringLiteral("Bob")));
    HostScreen *host = f.host.get();
    f.join->close();
    QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "infox"), QStringLiteral("Koneksi Terputus"), 10000);
    QVERIFY(F::visible(host, "trans"));
    QVERIFY(F::visible(host, "infox"));
    QVERIFY(!F::enabled(host, "Command1"));
    QVERIFY(!F::enabled(host, "Text1"));
    QVERIFY(!F::enabled(host, "Command3"));

    // The host never listens again: a second joiner is refused.
    f.join.reset();
    JoinScreen *second = f.openJoin(QStringLiteral("Cici"));
    QTRY_COMPARE_WITH_TIMEOUT(F::text(second, "infox"),
                              QStringLiteral("Tidak dapat terhubung ke 127.0.0.1: koneksi ditolak."), 15000);
    QVERIFY(F::visible(second, "infox"));
    QCOMPARE(F::text(host, "Xname"), QStringLiteral("Bob"));
}

void TestMatchPlay::hostLeaves()
{
    F f;
    QVERIFY(f.startMatch(QStringLiteral("Ani"), QStringLiteral("Bob")));
    QSignalSpy closing(f.host.get(), &HostScreen::closing);
    QSignalSpy leave(f.host.get(), &MatchScreen::closeRequested);
    F::click(f.host.get(), "Command2");
    QCOMPARE(leave.count(), 1);
    QCOMPARE(closing.count(), 1);
    QCOMPARE(closing.first().first().toString(), QStringLiteral("127.0.0.1"));
    JoinScreen *join = f.join.get();
    QTRY_COMPARE_WITH_TIMEOUT(F::text(join, "infox"), QStringLiteral("Koneksi Terputus"), 10000);
    QVERIFY(!F::enabled(join, "Command1"));
    QVERIFY(!F::enabled(join, "Text1"));
    f.host.reset();
    QCOMPARE(closing.count(), 1);
}

void TestMatchPlay::failures_data()
{
    // The sentences themselves are pinned down with the connection; here the screen shows
    // them and stays usable.
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("shown");
    QTest::newRow("nobody listening") << "127.0.0.1" << "Tidak dapat terhubung ke 127.0.0.1: koneksi ditolak.";
    QTest::newRow("empty") << "" << "Alamat host kosong: isi alamat IP host terlebih dahulu.";
}

void TestMatchPlay::failures()
{
    QFETCH(QString, address);
    QFETCH(QString, shown);
    F f;
    JoinScreen *join = f.openJoin(QStringLiteral("Bob"), address);
    QTRY_COMPARE_WITH_TIMEOUT(F::text(join, "infox"), shown, 15000);
    QVERIFY(F::visible(join, "infox"));
    // Still usable: "Close" leads away.
    QSignalSpy leave(join, &MatchScreen::closeRequested);
    F::click(join, "Command2");
    QCOMPARE(leave.count(), 1);
}

void TestMatchPlay::hostCannotListen()
{
    F f;
    QTcpServer squatter;
    QVERIFY(squatter.listen(QHostAddress::Any, f.env.port()));
    auto host = std::make_unique<HostScreen>();
    QSignalSpy opened(host.get(), &HostScreen::opened);
    QSignalSpy closing(host.get(), &HostScreen::closing);
    host->Form_Load();
    QCOMPARE(F::text(host.get(), "infox"),
             QStringLiteral("Port %1 sedang dipakai program lain.").arg(f.env.port()));
    QVERIFY(F::visible(host.get(), "infox"));
    QCOMPARE(opened.count(), 1);
    QCOMPARE(closing.count(), 1);  // not left in the lobby
    host->close();
    QCOMPARE(closing.count(), 1);
}

QTEST_MAIN(TestMatchPlay)
#include "tst_match_play.moc"
