#include "lobby/probe_responder.h"
#include "lobby/probe_sender.h"
#include "support/match_env.h"

#include <QDeadlineTimer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

namespace {

constexpr int Patience = 20000;

// Connects from `from` (any 127.x.y.z) to the responder on `port`.
bool connectFrom(QTcpSocket &peer, const QString &from, quint16 port)
{
    if (!peer.bind(QHostAddress(from), 0))
        return false;
    peer.connectToHost(QHostAddress::LocalHost, port);
    return peer.waitForConnected(Patience);
}

// Starts the responder on a free port and returns it (0 if none was had). A port free on
// 127.0.0.1 may still be the local end of an earlier peer's connection on another loopback
// address, which the responder, listening on every address, cannot have: the next one then.
quint16 listenOnFreePort(ProbeResponder &hear)
{
    for (int tries = 0; tries < 20; ++tries) {
        const quint16 port = MatchEnv::freePort();
        if (port != 0 && hear.listen(port))
            return port;
    }
    return 0;
}

// What the responder on `port` answers to "ping", asking again while it is busy with someone
// else (a probe's abandoned handshake holds it for a moment) until `ms` have passed. Nothing
// here blocks: the responder runs on this thread.
QByteArray answerToPing(quint16 port, int ms)
{
    const QDeadlineTimer deadline(ms);
    while (!deadline.hasExpired()) {
        QTcpSocket peer;
        QObject::connect(&peer, &QTcpSocket::connected, &peer, [&peer] { peer.write("ping"); });
        peer.connectToHost(QHostAddress::LocalHost, port);
        const QDeadlineTimer attempt(3000);  // a full backlog drops the first SYN for 1 s
        while (peer.bytesAvailable() < 4 && peer.state() != QAbstractSocket::UnconnectedState
               && !attempt.hasExpired())
            QTest::qWait(10);
        if (peer.bytesAvailable() > 0)
            return peer.readAll();
        QTest::qWait(20);
    }
    return {};
}

} // namespace

class TestProbe : public QObject
{
    Q_OBJECT

private slots:
    void responderArrivals_data()
    {
        QTest::addColumn<QList<QByteArray>>("arrivals");
        QTest::addColumn<QString>("thenPeer");  // "" stays, "close" hangs up, "reset" aborts
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<bool>("listensAgain");

        using L = QList<QByteArray>;
        QTest::newRow("ping") << L{"ping"} << "" << QByteArray("pong") << true;
        QTest::newRow("pong") << L{"pong"} << "" << QByteArray() << true;
        QTest::newRow("Ping, as lobbies send it") << L{"Ping"} << "" << QByteArray() << false;
        QTest::newRow("PING") << L{"PING"} << "" << QByteArray() << false;
        QTest::newRow("ping with a line end") << L{"ping\r\n"} << "" << QByteArray() << false;
        QTest::newRow("ping split over two arrivals") << L{"pi", "ng"} << "" << QByteArray() << false;
        QTest::newRow("Ping, then hangs up") << L{"Ping"} << "close" << QByteArray() << false;
        // A probe's abandoned handshake: no word, then gone.
        QTest::newRow("hangs up without a word") << L{} << "close" << QByteArray() << true;
        QTest::newRow("resets without a word") << L{} << "reset" << QByteArray() << true;
    }

    void responderArrivals()
    {
        QFETCH(QList<QByteArray>, arrivals);
        QFETCH(QString, thenPeer);
        QFETCH(QByteArray, answer);
        QFETCH(bool, listensAgain);
        const bool pong = arrivals == QList<QByteArray>{"pong"};

        ProbeResponder hear;
        const quint16 port = listenOnFreePort(hear);
        QVERIFY(port != 0);
        QSignalSpy pongs(&hear, &ProbeResponder::pongHeard);

        const QString from = QStringLiteral("127.0.0.3");
        QTcpSocket peer;
        QVERIFY(connectFrom(peer, from, port));
        QTRY_VERIFY_WITH_TIMEOUT(hear.isServing(), Patience);
        // Serving one peer: nobody else gets in meanwhile.
        QVERIFY(!hear.isListening());
        for (int i = 0; i < arrivals.size(); ++i) {
            QVERIFY(peer.write(arrivals.at(i)) > 0 && peer.waitForBytesWritten(Patience));
            QTRY_COMPARE_WITH_TIMEOUT(hear.arrivals(), i + 1, Patience);
        }
        if (thenPeer == u"close")
            peer.disconnectFromHost();
        else if (thenPeer == u"reset")
            peer.abort();
        if (!thenPeer.isEmpty())
            QTRY_VERIFY_WITH_TIMEOUT(!hear.isServing(), Patience);

        if (answer.isEmpty()) {
            QSignalSpy answered(&peer, &QTcpSocket::readyRead);
            QVERIFY(!answered.wait(300));
        } else {
            QTRY_COMPARE_WITH_TIMEOUT(peer.bytesAvailable(), qint64(answer.size()), Patience);
            QCOMPARE(peer.readAll(), answer);
        }
        QCOMPARE(pongs.size(), pong ? 1 : 0);
        QCOMPARE(hear.isListening(), listensAgain);
        QTcpSocket next;
        if (!listensAgain) {
            next.connectToHost(QHostAddress::LocalHost, port);
            QVERIFY(!next.waitForConnected(Patience));
            return;
        }
        // The next peer is served in turn; each pong names its sender, the same one twice too.
        peer.disconnectFromHost();
        QVERIFY(connectFrom(next, from, port));
        QTRY_VERIFY_WITH_TIMEOUT(hear.isServing(), Patience);
        QVERIFY(next.write("pong") > 0 && next.waitForBytesWritten(Patience));
        QTRY_COMPARE_WITH_TIMEOUT(pongs.size(), pong ? 2 : 1, Patience);
        for (const QList<QVariant> &heard : std::as_const(pongs))
            QCOMPARE(heard.at(0).toString(), from);
        QVERIFY(hear.isListening());
    }

    void probingDeliversNothing()
    {
        // A plain server that takes every connection and counts every byte.
        QTcpServer remote;
        QVERIFY(remote.listen(QHostAddress::LocalHost, 0));
        int connections = 0;
        qint64 bytes = 0;
        connect(&remote, &QTcpServer::newConnection, this, [&] {
            while (QTcpSocket *socket = remote.nextPendingConnection()) {
                ++connections;
                connect(socket, &QTcpSocket::readyRead, socket,
                        [socket, &bytes] { bytes += socket->readAll().size(); });
                connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
        QStringList addresses(1000, QStringLiteral("127.0.0.1"));
        addresses << QStringLiteral("[Nomor IP]") << QString();

        ProbeSender pingSy;
        QSignalSpy finished(&pingSy, &ProbeSender::finished);
        int turns = 0;
        QTimer turn;
        connect(&turn, &QTimer::timeout, this, [&turns] { ++turns; });
        turn.start(0);
        pingSy.probe(addresses, remote.serverPort());
        QVERIFY(finished.wait(Patience));
        QCOMPARE(pingSy.passesBegun(), 1002);
        QCOMPARE(pingSy.pending(), 0);
        // The screen went on between bursts of passes.
        QVERIFY(turns > 0);
        QTest::qWait(300);
        qInfo("handshakes completed before the close: %d of 1000", connections);
        QCOMPARE(bytes, qint64(0));
    }

    void probeGoesToTheEntrysProbePort()
    {
        // A registry name "a.b.c.d_M_P" is probed on P, a plain one on the standard port.
        QTcpServer standard;
        QTcpServer mapped;
        QVERIFY(standard.listen(QHostAddress::LocalHost, 0));
        QVERIFY(mapped.listen(QHostAddress::LocalHost, 0));
        int toStandard = 0;
        int toMapped = 0;
        connect(&standard, &QTcpServer::newConnection, this, [&] { ++toStandard; });
        connect(&mapped, &QTcpServer::newConnection, this, [&] { ++toMapped; });
        const QString entry = QStringLiteral("127.0.0.1_1009_%1").arg(mapped.serverPort());
        ProbeSender pingSy;
        QSignalSpy finished(&pingSy, &ProbeSender::finished);
        pingSy.probe(QStringList(20, entry), standard.serverPort());
        QVERIFY(finished.wait(Patience));
        QTRY_VERIFY(toMapped > 0);
        pingSy.probe(QStringList(20, QStringLiteral("127.0.0.1")), standard.serverPort());
        QVERIFY(finished.wait(Patience));
        QTRY_VERIFY(toStandard > 0);
        const int mappedBefore = toMapped;
        QTest::qWait(100);
        QCOMPARE(toMapped, mappedBefore);
    }

    void responderAnswersOnBothPorts()
    {
        // A router's high stand-in for the probe port serves like the probe port itself.
        ProbeResponder hear;
        const quint16 port = listenOnFreePort(hear);
        const quint16 also = MatchEnv::freePort();
        QVERIFY(port != 0 && also != 0);
        QVERIFY(hear.listenAlso(also));
        QCOMPARE(answerToPing(also, 10000), QByteArray("pong"));
        QCOMPARE(answerToPing(port, 10000), QByteArray("pong"));
        QCOMPARE(answerToPing(also, 10000), QByteArray("pong"));
    }

    void probedResponderStillAnswers()
    {
        // This machine's own responder among the probed addresses, as when a host lists itself.
        ProbeResponder hear;
        const quint16 port = listenOnFreePort(hear);
        QVERIFY(port != 0);
        ProbeSender pingSy;
        QSignalSpy finished(&pingSy, &ProbeSender::finished);
        pingSy.probe(QStringList(200, QStringLiteral("127.0.0.1")), port);
        QVERIFY(finished.wait(Patience));
        QCOMPARE(answerToPing(port, 10000), QByteArray("pong"));
    }
};

QTEST_GUILESS_MAIN(TestProbe)
#include "tst_probe.moc"
