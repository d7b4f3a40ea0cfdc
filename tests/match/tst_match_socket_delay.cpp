#include "match/match_socket.h"

#include "support/match_env.h"

#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

// Each message is a few bytes and the next one often follows before the peer has
// acknowledged the last (a total right after a restart, then the opening move): both ends
// must send at once rather than hold the bytes back for the acknowledgement, which a peer
// may delay by up to 40 ms.
class TestMatchSocketDelay : public QObject
{
    Q_OBJECT

private slots:
    void bothEndsSendWithoutWaiting_data();
    void bothEndsSendWithoutWaiting();
};

void TestMatchSocketDelay::bothEndsSendWithoutWaiting_data()
{
    QTest::addColumn<bool>("hostSide");
    QTest::newRow("host") << true;
    QTest::newRow("joiner") << false;
}

void TestMatchSocketDelay::bothEndsSendWithoutWaiting()
{
    QFETCH(bool, hostSide);

    const quint16 port = MatchEnv::freePort();
    MatchSocket host;
    QVERIFY(host.listen(port));
    QSignalSpy request(&host, &MatchSocket::connectionRequest);
    MatchSocket join;
    QSignalSpy connected(&join, &MatchSocket::connected);
    join.connectToHost(QStringLiteral("127.0.0.1"), port);
    QVERIFY(request.wait(15000));
    QVERIFY(host.accept());
    QTRY_COMPARE_WITH_TIMEOUT(connected.count(), 1, 15000);

    auto *peer = (hostSide ? host : join).findChild<QTcpSocket *>(QString(), Qt::FindDirectChildrenOnly);
    QVERIFY(peer);
    QCOMPARE(peer->socketOption(QAbstractSocket::LowDelayOption).toInt(), 1);
}

QTEST_GUILESS_MAIN(TestMatchSocketDelay)
#include "tst_match_socket_delay.moc"
