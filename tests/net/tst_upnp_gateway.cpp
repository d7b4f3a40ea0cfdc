#include "net/host_address.h"
#include "net/upnp_gateway.h"

#include "support/fake_igd.h"

#include <QElapsedTimer>
#include <QTest>

#include <atomic>
#include <functional>
#include <thread>

using Mode = FakeIgd::Mode;
Q_DECLARE_METATYPE(FakeIgd::Mode)

namespace {

// The gateway blocks, as on the mapper's worker; the fake router answers on this thread's
// event loop meanwhile.
bool runBlocking(const std::function<void()> &work, int ms = 15000)
{
    std::atomic<bool> done = false;
    std::thread worker([&] {
        work();
        done = true;
    });
    const bool inTime = QTest::qWaitFor([&] { return done.load(); }, ms);
    worker.join();
    return inTime;
}

} // namespace

class TstUpnpGateway : public QObject
{
    Q_OBJECT
private slots:
    void mapping_data();
    void mapping();
    void hostileRouter_data();
    void hostileRouter();
};

void TstUpnpGateway::mapping_data()
{
    QTest::addColumn<bool>("permanentOnly");
    QTest::addColumn<QByteArray>("heldBy");  // another LAN machine's mapping of 41009, or empty
    QTest::addColumn<quint32>("lease");
    QTest::addColumn<int>("added");

    QTest::newRow("leased") << false << QByteArray() << 3600u << 0;
    QTest::newRow("permanent only: a lease is refused") << true << QByteArray() << 3600u
                                                        << UpnpGateway::OnlyPermanentLeasesSupported;
    QTest::newRow("permanent only: permanent") << true << QByteArray() << 0u << 0;
    QTest::newRow("held by another machine") << false << QByteArray("198.18.0.9") << 3600u
                                             << UpnpGateway::ConflictInMappingEntry;
}

void TstUpnpGateway::mapping()
{
    if (!UpnpGateway::available())
        QSKIP("built without libminiupnpc: this program maps its ports through NAT-PMP alone");
    QFETCH(bool, permanentOnly);
    QFETCH(QByteArray, heldBy);
    QFETCH(quint32, lease);
    QFETCH(int, added);

    FakeIgd router;
    router.permanentOnly = permanentOnly;
    if (!heldBy.isEmpty())
        router.mappings.insert(41009, {heldBy, 41009, 0});
    UpnpGateway gateway;
    bool opened = false;
    int addressResult = -1;
    quint32 external = 0;
    int addResult = -1;
    QByteArray holder;
    quint16 holderPort = 0;
    bool held = false;
    QVERIFY(runBlocking([&] {
        opened = gateway.openDescription(router.descriptionUrl());
        addressResult = gateway.externalAddress(&external);
        addResult = gateway.addMapping(41009, 41009, "127.0.0.1", lease);
        held = gateway.mappingHolder(41009, &holder, &holderPort);
    }));
    QVERIFY(opened);
    QCOMPARE(addressResult, 0);
    QCOMPARE(HostAddress::formatIpv4(external), QStringLiteral("198.19.0.1"));
    QCOMPARE(addResult, added);
    QVERIFY(held == (added == 0 || !heldBy.isEmpty()));
    if (held) {
        QCOMPARE(holder, heldBy.isEmpty() ? QByteArray("127.0.0.1") : heldBy);
        QCOMPARE(holderPort, quint16(41009));
    }
    if (added == 0) {
        QCOMPARE(router.mappings.value(41009).lease, lease);
        int deleted = -1;
        QVERIFY(runBlocking([&] { deleted = gateway.deleteMapping(41009); }));
        QCOMPARE(deleted, 0);
        QVERIFY(router.mappings.isEmpty());
    }
}

void TstUpnpGateway::hostileRouter_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<QByteArray>("externalAddress");

    QTest::newRow("garbage description") << Mode::GarbageDescription << QByteArray("198.19.0.1");
    QTest::newRow("huge description") << Mode::HugeDescription << QByteArray("198.19.0.1");
    QTest::newRow("malformed SOAP") << Mode::MalformedSoap << QByteArray("198.19.0.1");
    QTest::newRow("address that is none") << Mode::Answer << QByteArray("198.19.0.1<script>");
    QTest::newRow("address out of range") << Mode::Answer << QByteArray("300.19.0.1");
    QTest::newRow("huge address") << Mode::Answer << QByteArray(5000, '9');
}

void TstUpnpGateway::hostileRouter()
{
    // Whatever the router sends, the gateway comes back with no address and nothing mapped.
    QFETCH(Mode, mode);
    QFETCH(QByteArray, externalAddress);
    FakeIgd router;
    router.mode = mode;
    router.externalAddress = externalAddress;
    UpnpGateway gateway;
    int addressResult = 0;
    quint32 external = 0;
    QVERIFY(runBlocking([&] {
        gateway.openDescription(router.descriptionUrl());
        addressResult = gateway.externalAddress(&external);
    }));
    QVERIFY(addressResult != 0);
    QCOMPARE(external, 0u);
}

QTEST_GUILESS_MAIN(TstUpnpGateway)
#include "tst_upnp_gateway.moc"
