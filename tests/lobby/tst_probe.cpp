#include "lobby/probe_responder.h"
#include "lobby/probe_sender.h"
#include "support/match_env.h"

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

} // namespace

class TestProbe : public QObject
{
    Q_OBJECT

private slots:
    void responderArrivals_data();
    void responderArrivals();
    void responderOnTakenPort();
    void senderPingsLiteralAddressesOnly();
    void senderLongListStaysBounded();
};

void TestProbe::responderArrivals_data()
{
    QTest::addColumn<QList<QByteArray>>("arrivals");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<bool>("listensAgain");
    QTest::addColumn<bool>("pong");

    QTest::newRow("ping") << QList<QByteArray>{"ping"} << QByteArray("pong") << true << false;
    QTest::newRow("pong") << QList<QByteArray>{"pong"} << QByteArray() << true << true;
    QTest::newRow("Ping, as lobbies send it")
        << QList<QByteArray>{"Ping"} << QByteArray() << false << false;
    QTest::newRow("PING") << QList<QByteArray>{"PING"} << QByteArray() << false << false;
    QTest::newRow("ping with a line end")
        << QList<QByteArray>{"ping\r\n"} << QByteArray() << false << false;
    QTest::newRow("ping split over two arrivals")
        << QList<QByteArray>{"pi", "ng"} << QByteArray() << false << false;
}

void TestProbe::responderArrivals()
{
    QFETCH(QList<QByteArray>, arrivals);
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

void TestProbe::senderPingsLiteralAddressesOnly()
{
    QTcpServer remote;
    QVERIFY(remote.listen(QHostAddress::LocalHost, 0));
    QList<QByteArray> received;
    connect(&remote, &QTcpServer::newConnection, this, [&] {
        while (QTcpSocket *socket = remote.nextPendingConnection()) {
            // What a sender wrote is still there to read once it has hung up.
            connect(socket, &QTcpSocket::disconnected, socket, [socket, &received] {
                received.append(socket->readAll());
                socket->deleteLater();
            });
        }
    });

    ProbeSender pingSy;
    QSignalSpy finished(&pingSy, &ProbeSender::finished);
    pingSy.probe({QStringLiteral("127.0.0.1"), QStringLiteral("[Nomor IP]"),
                  QStringLiteral("127.0.0.1"), QString()},
                 remote.serverPort());
    QVERIFY(finished.wait(Patience));
    QCOMPARE(pingSy.passesBegun(), 4);
    QCOMPARE(pingSy.pingsSent(), 2);
    QCOMPARE(pingSy.pending(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(received.size(), 2, Patience);
    QCOMPARE(received, (QList<QByteArray>{"Ping", "Ping"}));
}

void TestProbe::senderLongListStaysBounded()
{
    // Loopback addresses on a port nobody listens on: every pass is refused at once.
    const quint16 port = MatchEnv::freePort();
    QStringList addresses;
    for (int i = 0; i < 3000; ++i)
        addresses.append(QStringLiteral("127.0.%1.%2").arg(i / 250).arg(i % 250 + 1));

    ProbeSender pingSy;
    QSignalSpy finished(&pingSy, &ProbeSender::finished);
    int mostOpen = 0;
    QTimer sampler;
    connect(&sampler, &QTimer::timeout, this, [&] {
        int open = 0;
        for (const QTcpSocket *socket : pingSy.findChildren<QTcpSocket *>())
            open += !socket->property("ended").toBool();
        mostOpen = qMax(mostOpen, open);
    });
    sampler.start(1);
    pingSy.probe(addresses, port);
    QVERIFY(finished.wait(120000));
    QCOMPARE(pingSy.passesBegun(), 3000);
    QCOMPARE(pingSy.pingsSent(), 0);
    QVERIFY2(mostOpen <= ProbeSender::MaxInFlight, qPrintable(QString::number(mostOpen)));
}

QTEST_GUILESS_MAIN(TestProbe)
#include "tst_probe.moc"
