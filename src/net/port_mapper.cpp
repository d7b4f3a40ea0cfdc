#include "port_mapper.h"

#include "net/natpmp_client.h"
#include "net/upnp_worker.h"

#include <QTimer>

namespace {
// A renewal never waits less than this, whatever lifetime the router grants.
constexpr int MinRenewMs = 1000;
constexpr int RetryRenewMs = 30000;
constexpr int RemovalsMs = 2500;
} // namespace

PortMapper::PortMapper(QObject *parent)
    : QObject(parent)
    , m_renewTimer(new QTimer(this))
    , m_deadline(new QTimer(this))
{
    m_renewTimer->setSingleShot(true);
    connect(m_renewTimer, &QTimer::timeout, this, &PortMapper::renew);
    // Whatever is still under way then, the player hears "no router" in time.
    m_deadline->setSingleShot(true);
    connect(m_deadline, &QTimer::timeout, this, [this] {
        if (m_outcome == Outcome::Trying)
            setOutcome(failure());
    });
}

PortMapper::~PortMapper() = default;

int PortMapper::mappings() const
{
    int held = 0;
    for (const Mapping &mapping : m_mapped)
        held += mapping.held ? 1 : 0;
    return held;
}

void PortMapper::setOutcome(Outcome outcome)
{
    if (m_outcome == outcome)
        return;
    m_outcome = outcome;
    emit outcomeChanged(outcome);
}

void PortMapper::start(const Config &config)
{
    m_config = config;
    m_mapped = {Mapping{config.matchPort}, Mapping{config.probePort}};
    m_awaiting = 0;
    m_refusedPort = 0;
    m_external = 0;
    m_noPublicAddress = false;
    m_protocol = Protocol::None;
    m_openPlace.clear();
    // A host opened again right after closing: the same ports are asked for anew, so the
    // removals still under way are dropped, and so are the old answers.
    m_removing = 0;
    ++m_generation;
    delete m_natPmp;
    m_natPmp = nullptr;
    setOutcome(Outcome::Trying);
    m_deadline->start(config.deadlineMs + 300);

    QHostAddress router = config.router;
    // A loopback host has no router to ask; tests name theirs explicitly.
    if (router.isNull() && !config.localAddress.isLoopback())
        router = defaultGateway(config.localAddress);
    m_natPmpFailed = !config.natPmp || router.isNull();
    if (!m_natPmpFailed) {
        m_natPmp = new NatPmpClient(router, config.natPmpPort, this);
        m_natPmp->setDeadlineMs(config.deadlineMs);
        connect(m_natPmp, &NatPmpClient::replied, this, &PortMapper::natPmpReplied);
        connect(m_natPmp, &NatPmpClient::timedOut, this, &PortMapper::natPmpTimedOut);
        connect(m_natPmp, &NatPmpClient::routerRestarted, this, [this] {
            // Everything mapped is gone with the restart: ask again at once.
            if (m_outcome == Outcome::Open && !m_removing)
                renew();
        });
        m_natPmp->requestExternalAddress();
    }
    // SSDP multicasts on the local network: never from a loopback address, nor where no
    // default route leads to a router at all.
    m_upnpPending = config.upnp
                    && (!config.upnpDescription.isEmpty() || (!config.localAddress.isLoopback() && !router.isNull()));
    if (m_upnpPending)
        upnpFind();
    if (m_natPmpFailed && !m_upnpPending) {
        // Queued, so that whoever started us has connected and returned first.
        QMetaObject::invokeMethod(this, [this] { setOutcome(Outcome::NoRouter); }, Qt::QueuedConnection);
    }
}

void PortMapper::natPmpFailed()
{
    m_natPmpFailed = true;
    if (m_outcome == Outcome::Trying && (m_protocol == Protocol::NatPmp || !m_upnpPending))
        setOutcome(failure());
}

void PortMapper::classifyExternal()
{
    switch (classifyAddress(m_external, m_config.publicNets)) {
    case AddressClass::Public:
        if (m_protocol == Protocol::Upnp)
            upnpMap();
        else
            requestMappings();
        break;
    case AddressClass::Shared:
        setOutcome(Outcome::SharedAddress);
        break;
    case AddressClass::Private:
        setOutcome(Outcome::DoubleNat);
        break;
    case AddressClass::Reserved:
        setOutcome(Outcome::NotReachable);
        break;
    }
}

void PortMapper::allMapped()
{
    m_deadline->stop();
    quint32 shortest = m_mapped.constFirst().lifetime;
    for (const Mapping &held : std::as_const(m_mapped))
        shortest = qMin(shortest, held.lifetime);
    // A permanent mapping (lease 0) is still checked now and then: the router may restart.
    if (shortest == 0)
        shortest = m_config.leaseSeconds;
    m_renewTimer->start(int(qMax<qint64>(MinRenewMs, qint64(shortest) * 500)));
    const QString place = QStringLiteral("%1 %2 %3").arg(m_external).arg(externalMatchPort()).arg(externalProbePort());
    const bool moved = m_outcome == Outcome::Open && place != m_openPlace;
    m_openPlace = place;
    setOutcome(Outcome::Open);
    if (moved)
        emit placeChanged();
}

int PortMapper::indexOfInternal(quint16 internalPort) const
{
    for (int i = 0; i < m_mapped.size(); ++i) {
        if (m_mapped.at(i).internalPort == internalPort)
            return i;
    }
    return -1;
}

void PortMapper::natPmpReplied(const NatPmp::Reply &reply)
{
    if (m_removing) {
        removalDone();
        return;
    }
    if (m_outcome == Outcome::Idle)
        return;
    if (m_protocol == Protocol::Upnp)
        return;
    if (reply.opcode == NatPmp::OpExternalAddress) {
        if (reply.result != NatPmp::Success) {
            // The router is there, but the internet side has no address it may give.
            m_noPublicAddress = m_noPublicAddress || reply.result == NatPmp::NetworkFailure;
            natPmpFailed();
            return;
        }
        m_protocol = Protocol::NatPmp;
        m_external = reply.externalAddress;
        classifyExternal();
        return;
    }
    const int index = indexOfInternal(reply.internalPort);
    if (index < 0 || (m_outcome != Outcome::Trying && m_outcome != Outcome::Open))
        return;
    Mapping &mapping = m_mapped[index];
    if (reply.result != NatPmp::Success || reply.lifetime == 0) {
        mapping.held = false;
        // Routers that allow only ports from 1024 up check the internal port too: the host
        // then also listens on a high local port, and that one is mapped instead.
        if (mapping.internalPort < 1024 && m_config.highPortBase != 0) {
            mapping.internalPort = quint16(m_config.highPortBase + mapping.internalPort);
            mapping.externalPort = 0;
            m_natPmp->requestMapping(NatPmp::OpMapTcp, mapping.internalPort, mapping.internalPort,
                                     m_config.leaseSeconds);
            return;
        }
        m_refusedPort = mapping.internalPort;
        m_awaiting = 0;
        m_renewTimer->stop();
        releaseHeld();
        setOutcome(Outcome::Refused);
        return;
    }
    mapping.externalPort = reply.externalPort;
    mapping.lifetime = reply.lifetime;
    mapping.held = true;
    if (--m_awaiting > 0)
        return;
    allMapped();
}

void PortMapper::releaseHeld()
{
    if (m_protocol == Protocol::Upnp) {
        upnpUnmap();
        return;
    }
    m_natPmp->cancelAll();
    for (Mapping &mapping : m_mapped) {
        if (!mapping.held)
            continue;
        m_natPmp->requestMapping(NatPmp::OpMapTcp, mapping.internalPort, 0, 0);
        mapping.held = false;
    }
}

void PortMapper::natPmpTimedOut(quint8 opcode, quint16 internalPort)
{
    Q_UNUSED(internalPort);
    if (m_removing) {
        removalDone();
        return;
    }
    Q_UNUSED(opcode);
    // A renewal that got no answer keeps the mappings until their lease ends: try again
    // soon, still open.
    if (m_outcome == Outcome::Open)
        m_renewTimer->start(retryMs());
    else if (m_outcome == Outcome::Trying)
        natPmpFailed();
}

int PortMapper::retryMs() const
{
    return int(qBound(qint64(MinRenewMs), qint64(m_config.leaseSeconds) * 250, qint64(RetryRenewMs)));
}

void PortMapper::requestMappings()
{
    m_awaiting = int(m_mapped.size());
    for (const Mapping &mapping : std::as_const(m_mapped)) {
        const quint16 wanted = mapping.externalPort ? mapping.externalPort : mapping.internalPort;
        m_natPmp->requestMapping(NatPmp::OpMapTcp, mapping.internalPort, wanted, m_config.leaseSeconds);
    }
}

void PortMapper::renew()
{
    if (m_removing)
        return;
    if (m_protocol == Protocol::Upnp) {
        // Adding our own mapping again refreshes it, or makes it anew after a restart.
        upnpMap();
        return;
    }
    if (!m_natPmp)
        return;
    // The external address may have changed too (a new lease from the provider).
    m_natPmp->requestExternalAddress();
}

void PortMapper::stop()
{
    m_renewTimer->stop();
    m_deadline->stop();
    // Mappings asked for whose answer has not come may exist at the router all the same:
    // they are removed like those held (removing one that does not exist is harmless).
    if (m_awaiting > 0) {
        for (Mapping &mapping : m_mapped)
            mapping.held = true;
    }
    const bool upnpAsked = m_protocol == Protocol::Upnp && (mappings() > 0 || (m_upnp && m_upnp->busy()));
    if (upnpAsked) {
        m_removing = 1;  // one job removes them all
        m_awaiting = 0;
        upnpUnmap();
        setOutcome(Outcome::Idle);
        return;
    }
    if (!m_natPmp || mappings() == 0) {
        delete m_natPmp;
        m_natPmp = nullptr;
        setOutcome(Outcome::Idle);
        QMetaObject::invokeMethod(this, &PortMapper::removed, Qt::QueuedConnection);
        return;
    }
    // A renewal still under way is dropped: only the removals count from here. They go
    // one after the other, and all must be done inside the exit's 3 s for the router.
    m_removing = mappings();
    m_natPmp->setDeadlineMs(qMin(m_config.deadlineMs, RemovalsMs / m_removing));
    m_awaiting = 0;
    releaseHeld();
    setOutcome(Outcome::Idle);
}

void PortMapper::removalDone()
{
    if (--m_removing > 0)
        return;
    m_removing = 0;
    emit removed();
}
