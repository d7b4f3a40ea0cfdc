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

// A peer of the responder: connects from `from` (any 127.x.y.z) and sends arrivals.
class Peer
{
public:
    bool connectTo(quint16 port, const QString &from = QStringLiteral("127.0.0.1"))
    {
        if (!socket.bind(QHostAddress(from), 0))
            return false;
        socket.connectToHost(QHostAddress::LocalHost, port);
        return socket.waitForConnected(Patience);
    }
    bool send(const QByteArray &bytes)
    {
        socket.write(bytes);
        return socket.waitForBytesWritten(Patience);
    }
    QTcpSocket socket;
};

// Whether anybody accepts a connection on the port right now.
bool accepts(quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    return socket.waitForConnected(Patience);
}

// What the responder on `port` answers to "ping", asking again while it is busy with someone
// else (a probe's abandoned handshake holds it for a moment) until `ms` have passed.
QByteArray answerToPing(quint16 port, int ms)
{
    QDeadlineTimer deadline(ms);
    while (!deadline.hasExpired()) {
        Peer peer;
        if (peer.connectTo(port) && peer.send("ping")) {
            const QDeadlineTimer reply(1000);
            while (peer.socket.bytesAvailable() < 4 && !reply.hasExpired()
                   && peer.socket.state() == QAbstractSocket::ConnectedState)
                QTest::qWait(10);
            if (peer.socket.bytesAvailable() > 0)
                return peer.socket.readAll();
        }
        QTest::qWait(20);
    }
    return {};
}

} // namespace

class TestProbe : public QObject
{
    Q_OBJECT

private slots:
    void responderArrivals_data();
    void responderArrivals();
    void responderOnTakenPort();
    void probingDeliversNothing();
    void probedResponderStillAnswers();
};

void TestProbe::responderArrivals_data()
{
    QTest::addColumn<QList<QByteArray>>("arrivals");
    QTest::addColumn<QString>("thenPeer");  // "" stays, "close" hangs up, "reset" aborts
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<bool>("listensAgain");
    QTest::addColumn<bool>("pong");

    using L = QList<QByteArray>;
    QTest::newRow("ping") << L{"ping"} << "" << QByteArray("pong") << true << false;
    QTest::newRow("pong") << L{"pong"} << "" << QByteArray() << true << true;
    QTest::newRow("Ping, as lobbies send it") << L{"Ping"} << "" << QByteArray() << false << false;
    QTest::newRow("PING") << L{"PING"} << "" << QByteArray() << false << false;
    QTest::newRow("ping with a line end") << L{"ping\r\n"} << "" << QByteArray() << false << false;
    QTest::newRow("ping split over two arrivals")
        << L{"pi", "ng"} << "" << QByteArray() << false << false;
    QTest::newRow("Ping, then hangs up") << L{"Ping"} << "close" << QByteArray() << false << false;
    // A probe's abandoned handshake: no word, then gone.
    QTest::newRow("hangs up without a word") << L{} << "close" << QByteArray() << true << false;
    QTest::newRow("resets without a word") << L{} << "reset" << QByteArray() << true << false;
}

void TestProbe::responderArrivals()
{
    QFETCH(QList<QByteArray>, arrivals);
    QFETCH(QString, thenPeer);
    QFETCH(QByteArray, answer);
    QFETCH(bool, listensAgain);
    QFETCH(bool, pong);

    const quint16 port = MatchEnv::freePort();
    ProbeResponder hear;
    QVERIFY(hear.listen(port));
    QSignalSpy pongs(&hear, &ProbeResponder::pongHeard);

    const QString from = QStringLiteral("127.0.0.3");
    Peer peer;
    QVERIFY(peer.connectTo(port, from));
    QTRY_VERIFY_WITH_TIMEOUT(hear.isServing(), Patience);
    // Serving one peer: nobody else gets in meanwhile.
    QVERIFY(!hear.isListening());
    for (int i = 0; i < arrivals.size(); ++i) {
        QVERIFY(peer.send(arrivals.at(i)));
        QTRY_COMPARE_WITH_TIMEOUT(hear.arrivals(), i + 1, Patience);
    }
    if (thenPeer == u"close")
        peer.socket.disconnectFromHost();
    else if (thenPeer == u"reset")
        peer.socket.abort();
    if (!thenPeer.isEmpty())
        QTRY_VERIFY_WITH_TIMEOUT(!hear.isServing(), Patience);

    if (answer.isEmpty()) {
        QSignalSpy answered(&peer.socket, &QTcpSocket::readyRead);
        QVERIFY(!answered.wait(300));
    } else {
        QTRY_COMPARE_WITH_TIMEOUT(peer.socket.bytesAvailable(), qint64(answer.size()), Patience);
        QCOMPARE(peer.socket.readAll(), answer);
    }
    QCOMPARE(pongs.size(), pong ? 1 : 0);
    QCOMPARE(hear.isListening(), listensAgain);
    if (!listensAgain) {
        QVERIFY(!accepts(port));
        return;
    }
    // The next peer is served in turn; each pong names its sender, the same one twice too.
    peer.socket.disconnectFromHost();
    Peer next;
    QVERIFY(next.connectTo(port, from));
    QTRY_VERIFY_WITH_TIMEOUT(hear.isServing(), Patience);
    QVERIFY(next.send("pong"));
    QTRY_COMPARE_WITH_TIMEOUT(pongs.size(), pong ? 2 : 1, Patience);
    for (const QList<QVariant> &heard : std::as_const(pongs))
        QCOMPARE(heard.at(0).toString(), from);
    QVERIFY(hear.isListening());
}

void TestProbe::responderOnTakenPort()
{
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::Any, 0));
    ProbeResponder hear;
    QVERIFY(!hear.listen(other.serverPort()));
    QVERIFY(!hear.isListening());
}

void TestProbe::probingDeliversNothing()
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
    QStringList addresses(2000, QStringLiteral("127.0.0.1"));
    addresses << QStringLiteral("[Nomor IP]") << QString();

    ProbeSender pingSy;
    QSignalSpy finished(&pingSy, &ProbeSender::finished);
    int turns = 0;
    QTimer turn;
    connect(&turn, &QTimer::timeout, this, [&turns] { ++turns; });
    turn.start(0);
    pingSy.probe(addresses, remote.serverPort());
    QVERIFY(finished.wait(Patience));
    QCOMPARE(pingSy.passesBegun(), 2002);
    QCOMPARE(pingSy.pending(), 0);
    // The screen went on between bursts of passes.
    QVERIFY(turns > 0);
    QTest::qWait(300);
    qInfo("handshakes completed before the close: %d of 2000", connections);
    QCOMPARE(bytes, qint64(0));
}

void TestProbe::probedResponderStillAnswers()
{
    // This machine's own responder among the probed addresses, as when a host lists itself.
    const quint16 port = MatchEnv::freePort();
    ProbeResponder hear;
    QVERIFY(hear.listen(port));
    ProbeSender pingSy;
    QSignalSpy finished(&pingSy, &ProbeSender::finished);
    pingSy.probe(QStringList(200, QStringLiteral("127.0.0.1")), port);
    QVERIFY(finished.wait(Patience));
    QCOMPARE(answerToPing(port, 5000), QByteArray("pong"));
    QCOMPARE(hear.arrivals(), 1);  // only that "ping"
}

QTEST_GUILESS_MAIN(TestProbe)
#include "tst_probe.moc"
