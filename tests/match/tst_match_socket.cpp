#include "match/match_socket.h"

#include "support/match_env.h"

#include <QHostAddress>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

class TestMatchSocket : public QObject
{
    Q_OBJECT

private slots:
    void joinFailures_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("message");
        const QString port = QString::number(MatchEnv::freePort());
        QTest::newRow("empty") << "" << "Alamat host kosong: isi alamat IP host terlebih dahulu.";
        QTest::newRow("blank") << "  \r\n" << "Alamat host kosong: isi alamat IP host terlebih dahulu.";
        QTest::newRow("space inside") << "10.0 .0.7" << "Alamat host tidak valid: 10.0 .0.7";
        QTest::newRow("port suffix") << "127.0.0.1:" + port << "Alamat host tidak valid: 127.0.0.1:" + port;
        for (const QString &bad : {QStringLiteral("-lan.example"), QStringLiteral("lan..example"),
                                  QStringLiteral("caf\u00e9.lan"), QString(64, u'a') + QStringLiteral(".lan")})
            QTest::newRow(qPrintable(QStringLiteral("not a host name: ") + bad))
                << bad << "Alamat host tidak valid: " + bad;
        QTest::newRow("host name resolved, nobody listening")
            << "localhost" << "Tidak dapat terhubung ke localhost: koneksi ditolak.";
        QTest::newRow("nobody listening") << "127.0.0.1" << "Tidak dapat terhubung ke 127.0.0.1: koneksi ditolak.";
    }

    void joinFailures()
    {
        QFETCH(QString, address);
        QFETCH(QString, message);
        MatchSocket socket;
        QSignalSpy failed(&socket, &MatchSocket::failed);
        QSignalSpy connected(&socket, &MatchSocket::connected);
        socket.connectToHost(address, MatchEnv::freePort());
        QVERIFY(failed.wait(15000));
        QCOMPARE(failed.first().first().toString(), message);
        QCOMPARE(socket.errorText(), message);
        QCOMPARE(connected.count(), 0);
        QVERIFY(!socket.isConnected() && !socket.send(QStringLiteral("A1")));
    }

    void portInUse()
    {
        QTcpServer squatter;
        QVERIFY(squatter.listen(QHostAddress::Any, 0));
        MatchSocket socket;
        QVERIFY(!socket.listen(squatter.serverPort()));
        QCOMPARE(socket.errorText(), QStringLiteral("Port %1 sedang dipakai program lain.").arg(squatter.serverPort()));
        QVERIFY(!socket.isListening());
        squatter.close();
        QVERIFY(socket.listen(MatchEnv::freePort()));
    }

    void acceptEndsListeningOnBothPorts()
    {
        // A joiner through the router's high stand-in port is the one joiner: afterwards
        // neither port takes anybody, and the joiner stays connected.
        MatchSocket host;
        const quint16 port = MatchEnv::freePort();
        const quint16 also = MatchEnv::freePort();
        QVERIFY(host.listen(port));
        QVERIFY(host.listenAlso(also));
        QSignalSpy request(&host, &MatchSocket::connectionRequest);
        QTcpSocket joiner;
        joiner.connectToHost(QHostAddress::LocalHost, also);
        QVERIFY(request.wait());
        QVERIFY(host.accept());
        QVERIFY(!host.isListening());
        QVERIFY(!host.listenAlso(also));
        for (quint16 closed : {port, also}) {
            QTcpSocket late;
            late.connectToHost(QHostAddress::LocalHost, closed);
            QVERIFY(!late.waitForConnected(2000));
        }
        QVERIFY(host.isConnected());
    }

    void sendsAtOnceAndReportsOnlyPeerClose()
    {
        MatchSocket host;
        MatchSocket join;
        QSignalSpy joined(&join, &MatchSocket::connected);
        join.connectToHost(QStringLiteral("127.0.0.1"), listening(host));
        QVERIFY(joined.wait(10000));
        QTRY_VERIFY_WITH_TIMEOUT(host.isConnected(), 10000);
        // Messages are a few bytes and often follow one another before the peer acknowledges
        // (a total, then the opening move): both ends send at once rather than hold them back
        // for an acknowledgement the peer may delay by up to 40 ms. Both probe a silent peer,
        // so that a vanished machine ends the match instead of leaving it waiting for ever.
        for (MatchSocket *end : {&host, &join}) {
            auto *tcp = end->findChild<QTcpSocket *>(QString(), Qt::FindDirectChildrenOnly);
            QVERIFY(tcp);
            QCOMPARE(tcp->socketOption(QAbstractSocket::LowDelayOption).toInt(), 1);
            QCOMPARE(tcp->socketOption(QAbstractSocket::KeepAliveOption).toInt(), 1);
        }
        QSignalSpy hostSawClose(&host, &MatchSocket::peerClosed);
        QSignalSpy joinSawClose(&join, &MatchSocket::peerClosed);
        join.close();
        QVERIFY(hostSawClose.wait(10000));
        QVERIFY(!host.isConnected());
        QCOMPARE(joinSawClose.count(), 0);
    }

private:
    // A host end on a free port that accepts the first peer, as the host screen does.
    static quint16 listening(MatchSocket &host)
    {
        const quint16 port = MatchEnv::freePort();
        if (!host.listen(port))
            return 0;
        connect(&host, &MatchSocket::connectionRequest, &host, [&host] { host.accept(); });
        return port;
    }
};

QTEST_GUILESS_MAIN(TestMatchSocket)
#include "tst_match_socket.moc"
