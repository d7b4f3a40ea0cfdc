#include "net/host_address.h"
#include "net/port_mapper.h"
#include "net/upnp_gateway.h"

#include "support/fake_igd.h"
#include "support/fake_natpmp_router.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using Mode = FakeNatPmpRouter::Mode;
using Outcome = PortMapper::Outcome;
Q_DECLARE_METATYPE(FakeNatPmpRouter::Mode)
Q_DECLARE_METATYPE(FakeIgd::Mode)

namespace {

PortMapper::Config configFor(const FakeNatPmpRouter &router, quint16 matchPort = 41009,
                             quint16 probePort = 40079)
{
    PortMapper::Config config;
    config.localAddress = QHostAddress::LocalHost;
    config.router = QHostAddress::LocalHost;
    config.natPmpPort = router.port();
    config.matchPort = matchPort;
    config.probePort = probePort;
    config.publicNets = parseNetList(u"198.19.0.0/16");
    return config;
}

quint32 ip(const char *text)
{
    quint32 value = 0;
    HostAddress::parseIpv4(QString::fromLatin1(text), &value);
    return value;
}

} // namespace

class TstPortMapper : public QObject
{
    Q_OBJECT
private slots:
    void outcome_data();
    void outcome();
    void upnp_data();
    void upnp();
    void bothProtocolsMapOnce();
    void loopbackAsksNobody();
    void stopRemovesEveryMapping_data();
    void stopRemovesEveryMapping();
    void mapsAgainAfterRouterRestart();
    void upnpMapsAgainAfterRouterRestart();
};

void TstPortMapper::outcome_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<quint32>("external");
    QTest::addColumn<quint16>("matchPort");
    QTest::addColumn<quint16>("probePort");
    QTest::addColumn<quint16>("lowestAllowed");
    QTest::addColumn<quint16>("highPortBase");
    QTest::addColumn<Outcome>("outcome");
    QTest::addColumn<quint16>("refused");
    QTest::addColumn<int>("held");
    QTest::addColumn<quint16>("localMatch");  // when open
    QTest::addColumn<quint16>("localProbe");

    const quint32 lab = ip("198.19.0.1");
    const quint16 high = 40000;
    QTest::newRow("public: open") << Mode::Answer << lab << quint16(41009) << quint16(40079) << quint16(0)
                                  << high << Outcome::Open << quint16(0) << 2 << quint16(41009) << quint16(40079);
    QTest::newRow("standard ports: open") << Mode::Answer << lab << quint16(1009) << quint16(79) << quint16(0)
                                          << high << Outcome::Open << quint16(0) << 2 << quint16(1009) << quint16(79);
    QTest::newRow("low ports refused: high stand-ins") << Mode::Answer << lab << quint16(1009) << quint16(79)
                                                       << quint16(1024) << high << Outcome::Open << quint16(0) << 2
                                                       << quint16(41009) << quint16(40079);
    QTest::newRow("low ports refused, short replies") << Mode::ShortRefusal << lab << quint16(1009) << quint16(79)
                                                      << quint16(1024) << high << Outcome::Open << quint16(0) << 2
                                                      << quint16(41009) << quint16(40079);
    QTest::newRow("high stand-ins refused too") << Mode::Answer << lab << quint16(1009) << quint16(79)
                                                << quint16(50000) << high << Outcome::Refused << quint16(41009) << 0
                                                << quint16(0) << quint16(0);
    QTest::newRow("refusal leaves nothing mapped") << Mode::Answer << lab << quint16(1009) << quint16(40079)
                                                   << quint16(1024) << quint16(0) << Outcome::Refused << quint16(1009)
                                                   << 0 << quint16(0) << quint16(0);
    QTest::newRow("CGNAT") << Mode::Answer << ip("100.64.0.7") << quint16(41009) << quint16(40079) << quint16(0)
                           << high << Outcome::SharedAddress << quint16(0) << 0 << quint16(0) << quint16(0);
    QTest::newRow("double NAT") << Mode::Answer << ip("192.168.1.2") << quint16(41009) << quint16(40079) << quint16(0)
                                << high << Outcome::DoubleNat << quint16(0) << 0 << quint16(0) << quint16(0);
    QTest::newRow("reserved outside the lab's range") << Mode::Answer << ip("198.18.0.1") << quint16(41009)
                                                      << quint16(40079) << quint16(0) << high
                                                      << Outcome::NotReachable << quint16(0) << 0 << quint16(0) << quint16(0);
    QTest::newRow("no address of its own") << Mode::NoAddress << lab << quint16(41009) << quint16(40079) << quint16(0)
                                           << high << Outcome::NoPublicAddress << quint16(0) << 0 << quint16(0)
                                           << quint16(0);
    QTest::newRow("silent router") << Mode::Silent << lab << quint16(41009) << quint16(40079) << quint16(0)
                                   << high << Outcome::NoRouter << quint16(0) << 0 << quint16(0) << quint16(0);
    QTest::newRow("short replies") << Mode::Short << lab << quint16(41009) << quint16(40079) << quint16(0)
                                   << high << Outcome::NoRouter << quint16(0) << 0 << quint16(0) << quint16(0);
    QTest::newRow("forged replies") << Mode::FromOtherPort << lab << quint16(41009) << quint16(40079) << quint16(0)
                                    << high << Outcome::NoRouter << quint16(0) << 0 << quint16(0) << quint16(0);
}

void TstPortMapper::outcome()
{
    QFETCH(Mode, mode);
    QFETCH(quint32, external);
    QFETCH(quint16, matchPort);
    QFETCH(quint16, probePort);
    QFETCH(quint16, lowestAllowed);
    QFETCH(quint16, highPortBase);
    QFETCH(Outcome, outcome);
    QFETCH(quint16, refused);
    QFETCH(int, held);
    QFETCH(quint16, localMatch);
    QFETCH(quint16, localProbe);

    FakeNatPmpRouter router;
    router.mode = mode;
    router.externalAddress = external;
    router.lowestAllowed = lowestAllowed;
    PortMapper mapper;
    PortMapper::Config config = configFor(router, matchPort, probePort);
    config.highPortBase = highPortBase;
    QElapsedTimer clock;
    clock.start();
    mapper.start(config);
    QCOMPARE(mapper.outcome(), Outcome::Trying);
    QTRY_VERIFY_WITH_TIMEOUT(mapper.outcome() != Outcome::Trying, 5000);
    // The player hears within 3 s, whatever the router does.
    QVERIFY2(clock.elapsed() < 3000, qPrintable(QString::number(clock.elapsed())));
    // Replies that come late change nothing, and what was let go is gone at the router.
    QTRY_COMPARE(int(router.mappings.size()), held);
    QCOMPARE(mapper.outcome(), outcome);
    QCOMPARE(mapper.refusedPort(), refused);
    QCOMPARE(mapper.mappings(), held);
    if (outcome == Outcome::Open) {
        QCOMPARE(mapper.externalAddress(), external);
        QCOMPARE(mapper.localMatchPort(), localMatch);
        QCOMPARE(mapper.localProbePort(), localProbe);
        QCOMPARE(mapper.externalMatchPort(), localMatch);
        QCOMPARE(mapper.externalProbePort(), localProbe);
        QCOMPARE(router.mappings.value(localMatch), localMatch);
    }
}

void TstPortMapper::upnp_data()
{
    QTest::addColumn<FakeIgd::Mode>("mode");
    QTest::addColumn<QByteArray>("external");
    QTest::addColumn<bool>("permanentOnly");
    QTest::addColumn<quint16>("lowestAllowed");
    QTest::addColumn<QByteArray>("otherHolds");  // a LAN machine's mapping of 41009
    QTest::addColumn<quint16>("matchPort");
    QTest::addColumn<quint16>("probePort");
    QTest::addColumn<Outcome>("outcome");
    QTest::addColumn<quint16>("refused");
    QTest::addColumn<QList<quint16>>("mapped");  // ours at the router while open
    QTest::addColumn<quint32>("lease");

    using Igd = FakeIgd::Mode;
    const QByteArray lab = "198.19.0.1";
    const QList<quint16> high{41009, 40079};
    QTest::newRow("open") << Igd::Answer << lab << false << quint16(0) << QByteArray() << quint16(41009)
                          << quint16(40079) << Outcome::Open << quint16(0) << high << 3600u;
    QTest::newRow("permanent only") << Igd::Answer << lab << true << quint16(0) << QByteArray() << quint16(41009)
                                    << quint16(40079) << Outcome::Open << quint16(0) << high << 0u;
    QTest::newRow("low ports refused: high stand-ins") << Igd::Answer << lab << false << quint16(1024) << QByteArray()
                                                       << quint16(1009) << quint16(79) << Outcome::Open << quint16(0)
                                                       << high << 3600u;
    QTest::newRow("held by another machine") << Igd::Answer << lab << false << quint16(0) << QByteArray("198.18.0.9")
                                             << quint16(41009) << quint16(40079) << Outcome::HeldByOther
                                             << quint16(41009) << QList<quint16>{} << 0u;
    QTest::newRow("CGNAT") << Igd::Answer << QByteArray("100.64.0.7") << false << quint16(0) << QByteArray()
                           << quint16(41009) << quint16(40079) << Outcome::SharedAddress << quint16(0)
                           << QList<quint16>{} << 0u;
    QTest::newRow("no address of its own") << Igd::Answer << QByteArray() << false << quint16(0) << QByteArray()
                                           << quint16(41009) << quint16(40079) << Outcome::NoPublicAddress
                                           << quint16(0) << QList<quint16>{} << 0u;
    QTest::newRow("garbage description") << Igd::GarbageDescription << lab << false << quint16(0) << QByteArray()
                                         << quint16(41009) << quint16(40079) << Outcome::NoRouter << quint16(0)
                                         << QList<quint16>{} << 0u;
    QTest::newRow("malformed SOAP") << Igd::MalformedSoap << lab << false << quint16(0) << QByteArray()
                                    << quint16(41009) << quint16(40079) << Outcome::NoRouter << quint16(0)
                                    << QList<quint16>{} << 0u;
}

void TstPortMapper::upnp()
{
    if (!UpnpGateway::available())
        QSKIP("built without libminiupnpc: this program maps its ports through NAT-PMP alone");
    QFETCH(FakeIgd::Mode, mode);
    QFETCH(QByteArray, external);
    QFETCH(bool, permanentOnly);
    QFETCH(quint16, lowestAllowed);
    QFETCH(QByteArray, otherHolds);
    QFETCH(quint16, matchPort);
    QFETCH(quint16, probePort);
    QFETCH(Outcome, outcome);
    QFETCH(quint16, refused);
    QFETCH(QList<quint16>, mapped);
    QFETCH(quint32, lease);

    FakeIgd igd;
    igd.mode = mode;
    igd.externalAddress = external;
    igd.permanentOnly = permanentOnly;
    igd.lowestAllowed = lowestAllowed;
    if (!otherHolds.isEmpty())
        igd.mappings.insert(41009, {otherHolds, 41009, 0});
    PortMapper::Config config;
    config.localAddress = QHostAddress::LocalHost;
    config.matchPort = matchPort;
    config.probePort = probePort;
    config.natPmp = false;
    config.upnpDescription = igd.descriptionUrl();
    config.publicNets = parseNetList(u"198.19.0.0/16");
    PortMapper mapper;
    QElapsedTimer clock;
    clock.start();
    mapper.start(config);
    QTRY_VERIFY_WITH_TIMEOUT(mapper.outcome() != Outcome::Trying, 5000);
    QVERIFY2(clock.elapsed() < 3000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(mapper.outcome(), outcome);
    QCOMPARE(mapper.refusedPort(), refused);
    QList<quint16> ours;
    for (auto it = igd.mappings.cbegin(); it != igd.mappings.cend(); ++it) {
        if (it->client == "127.0.0.1") {
            ours.append(it.key());
            QCOMPARE(it->lease, lease);
        }
    }
    std::sort(ours.begin(), ours.end(), std::greater<>());
    QCOMPARE(ours, mapped);
    if (outcome == Outcome::Open) {
        QCOMPARE(mapper.localMatchPort(), mapped.at(0));
        QCOMPARE(mapper.externalProbePort(), mapped.at(1));
    }

    QSignalSpy removed(&mapper, &PortMapper::removed);
    mapper.stop();
    QVERIFY(removed.wait(3000));
    // Ours are gone; another machine's mapping is never touched.
    QCOMPARE(igd.mappings.size(), otherHolds.isEmpty() ? 0 : 1);
    if (!otherHolds.isEmpty())
        QCOMPARE(igd.mappings.value(41009).client, otherHolds);
}

void TstPortMapper::bothProtocolsMapOnce()
{
    // A router that speaks both: one of them maps, the other is left alone.
    FakeNatPmpRouter natPmp;
    FakeIgd igd;
    PortMapper::Config config = configFor(natPmp);
    config.upnpDescription = igd.descriptionUrl();
    PortMapper mapper;
    mapper.start(config);
    QTRY_COMPARE_WITH_TIMEOUT(mapper.outcome(), Outcome::Open, 3000);
    QTest::qWait(300);
    QCOMPARE(natPmp.mappings.size() + igd.mappings.size(), 2);
    QSignalSpy removed(&mapper, &PortMapper::removed);
    mapper.stop();
    QVERIFY(removed.wait(3000));
    QCOMPARE(natPmp.mappings.size() + igd.mappings.size(), 0);
}

void TstPortMapper::loopbackAsksNobody()
{
    PortMapper mapper;
    PortMapper::Config config;
    config.localAddress = QHostAddress::LocalHost;
    config.matchPort = 1009;
    config.probePort = 79;
    QSignalSpy changed(&mapper, &PortMapper::outcomeChanged);
    mapper.start(config);
    QTRY_COMPARE(mapper.outcome(), Outcome::NoRouter);
    QCOMPARE(changed.count(), 2);  // trying, then no router, at once
}

void TstPortMapper::stopRemovesEveryMapping_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<Outcome>("before");
    QTest::newRow("open") << Mode::Answer << Outcome::Open;
    // The router made the mappings, but its answers were lost: still ours to remove.
    QTest::newRow("answers lost") << Mode::MapSilently << Outcome::NoRouter;
}

void TstPortMapper::stopRemovesEveryMapping()
{
    QFETCH(Mode, mode);
    QFETCH(Outcome, before);
    FakeNatPmpRouter router;
    router.mode = mode;
    PortMapper mapper;
    mapper.start(configFor(router));
    QTRY_COMPARE_WITH_TIMEOUT(mapper.outcome(), before, 5000);
    QCOMPARE(router.mappings.size(), 2);
    QSignalSpy removed(&mapper, &PortMapper::removed);
    mapper.stop();
    QVERIFY(mapper.removing());
    QVERIFY(removed.wait(3000));
    QCOMPARE(router.mappings.size(), 0);
    QVERIFY(!mapper.removing());
    QCOMPARE(mapper.outcome(), Outcome::Idle);
}

void TstPortMapper::mapsAgainAfterRouterRestart()
{
    FakeNatPmpRouter router;
    router.maxLifetime = 2;  // renewal every second
    PortMapper mapper;
    QSignalSpy moved(&mapper, &PortMapper::placeChanged);
    mapper.start(configFor(router));
    QTRY_COMPARE(mapper.outcome(), Outcome::Open);
    // The router comes back with nothing mapped, and 41009 now taken by somebody else.
    router.restart();
    router.externalShift = 1;
    QTRY_COMPARE_WITH_TIMEOUT(router.mappings.size(), 2, 3000);
    QTRY_COMPARE(moved.count(), 1);
    QCOMPARE(mapper.outcome(), Outcome::Open);
    QCOMPARE(mapper.externalMatchPort(), quint16(41010));
    QCOMPARE(mapper.externalProbePort(), quint16(40080));
}

void TstPortMapper::upnpMapsAgainAfterRouterRestart()
{
    if (!UpnpGateway::available())
        QSKIP("built without libminiupnpc: this program maps its ports through NAT-PMP alone");
    FakeIgd igd;
    PortMapper::Config config;
    config.localAddress = QHostAddress::LocalHost;
    config.matchPort = 41009;
    config.probePort = 40079;
    config.natPmp = false;
    config.leaseSeconds = 2;  // renewal every second
    config.upnpDescription = igd.descriptionUrl();
    config.publicNets = parseNetList(u"198.19.0.0/16");
    PortMapper mapper;
    mapper.start(config);
    QTRY_COMPARE(mapper.outcome(), Outcome::Open);
    // Away across a renewal or two: no answer is no refusal, and nothing is given up.
    igd.switchOff();
    QTest::qWait(2500);
    QCOMPARE(mapper.outcome(), Outcome::Open);
    // Back with nothing mapped: the next renewal maps again.
    QVERIFY(igd.switchOn());
    QTRY_COMPARE_WITH_TIMEOUT(int(igd.mappings.size()), 2, 4000);
    QCOMPARE(mapper.outcome(), Outcome::Open);
    QCOMPARE(igd.mappings.value(41009).client, QByteArray("127.0.0.1"));
}

QTEST_GUILESS_MAIN(TstPortMapper)
#include "tst_port_mapper.moc"
