#include "net/ssdp_search.h"

#include <QTest>
#include <QUdpSocket>

#include <thread>

namespace {

QByteArray answer(const QByteArray &status, const QByteArray &target, const QByteArray &location)
{
    return status + "\r\nCACHE-CONTROL: max-age=120\r\nST: " + target + "\r\nUSN: uuid:1::" + target
           + "\r\nLocation: " + location + "\r\nSERVER: Debian/12 UPnP/1.1 MiniUPnPd/2.3.1\r\n\r\n";
}

const QByteArray Gateway = "urn:schemas-upnp-org:device:InternetGatewayDevice:1";
const QHostAddress Router(QStringLiteral("198.18.0.1"));

} // namespace

class TestSsdpSearch : public QObject
{
    Q_OBJECT
private slots:
    // What a LAN may send back: only a gateway's own description address is taken.
    void gatewayLocation_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::addColumn<QByteArray>("location");
        const QByteArray desc = "http://198.18.0.1:5000/rootDesc.xml";
        QTest::newRow("gateway") << answer("HTTP/1.1 200 OK", Gateway, desc) << desc;
        QTest::newRow("gateway, version 2")
            << answer("HTTP/1.1 200 OK", "urn:schemas-upnp-org:device:InternetGatewayDevice:2", desc) << desc;
        QTest::newRow("bare line ends") << answer("HTTP/1.1 200 OK", Gateway, desc).replace("\r\n", "\n") << desc;
        QTest::newRow("a printer") << answer("HTTP/1.1 200 OK", "urn:schemas-upnp-org:device:Printer:1", desc)
                                   << QByteArray();
        QTest::newRow("not 200") << answer("HTTP/1.1 404 Not Found", Gateway, desc) << QByteArray();
        QTest::newRow("another machine's address")
            << answer("HTTP/1.1 200 OK", Gateway, "http://203.0.113.9:5000/rootDesc.xml") << QByteArray();
        QTest::newRow("not http") << answer("HTTP/1.1 200 OK", Gateway, "file:///etc/passwd") << QByteArray();
        QTest::newRow("no location") << QByteArray("HTTP/1.1 200 OK\r\nST: ") + Gateway + "\r\n\r\n" << QByteArray();
        QTest::newRow("huge location")
            << answer("HTTP/1.1 200 OK", Gateway, "http://198.18.0.1:5000/" + QByteArray(300, 'a')) << QByteArray();
        QTest::newRow("oversized") << answer("HTTP/1.1 200 OK", Gateway, desc) + QByteArray(3000, ' ')
                                   << QByteArray();
        QTest::newRow("garbage") << QByteArray("\x00\xff:::\n:\r\n", 9) << QByteArray();
    }

    void gatewayLocation()
    {
        QFETCH(QByteArray, datagram);
        QTEST(Ssdp::gatewayLocation(datagram, Router), "location");
    }

    // The first gateway's answer ends the search at once; a stranger's answer before it does
    // not, and with no gateway the search gives up when its time is out.
    void searchFirst_data()
    {
        QTest::addColumn<QList<QByteArray>>("answers");
        QTest::addColumn<bool>("found");
        QTest::newRow("gateway") << QList<QByteArray>{"gateway"} << true;
        QTest::newRow("a printer first") << QList<QByteArray>{"printer", "gateway"} << true;
        QTest::newRow("nobody") << QList<QByteArray>{} << false;
    }

    void searchFirst()
    {
        QFETCH(QList<QByteArray>, answers);
        QFETCH(bool, found);
        const QHostAddress local(QHostAddress::LocalHost);
        QUdpSocket router;
        QVERIFY(router.bind(local, 0));
        const QByteArray desc = "http://127.0.0.1:5000/rootDesc.xml";
        // The router answers the first search from its own thread: the search blocks.
        router.moveToThread(nullptr);
        std::thread answering([&] {
            router.moveToThread(QThread::currentThread());
            if (!router.waitForReadyRead(3000))
                return;
            QHostAddress from;
            quint16 port = 0;
            QByteArray search(1024, '\0');
            search.truncate(router.readDatagram(search.data(), search.size(), &from, &port));
            if (!search.startsWith("M-SEARCH * HTTP/1.1\r\n") || !search.contains("ST: " + Gateway))
                return;
            for (const QByteArray &who : answers) {
                const QByteArray target = who == "gateway" ? Gateway : "urn:schemas-upnp-org:device:Printer:1";
                router.writeDatagram(answer("HTTP/1.1 200 OK", target, desc), from, port);
            }
        });
        QElapsedTimer clock;
        clock.start();
        const QByteArray location = Ssdp::searchFirst(local, 2000, local, router.localPort());
        const qint64 tookMs = clock.elapsed();
        answering.join();
        QCOMPARE(location, found ? desc : QByteArray());
        if (found)
            QVERIFY2(tookMs < 1000, qPrintable(QString::number(tookMs)));
        else
            QVERIFY(tookMs >= 1900);
    }

    // Never multicast from loopback: the search would leave on no LAN of ours.
    void noMulticastFromLoopback()
    {
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(Ssdp::searchFirst(QHostAddress(QHostAddress::LocalHost), 2000), QByteArray());
        QVERIFY(clock.elapsed() < 500);
    }
};

QTEST_GUILESS_MAIN(TestSsdpSearch)
#include "tst_ssdp_search.moc"
