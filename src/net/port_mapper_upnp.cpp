// The port mapper's UPnP-IGD side: every router call runs on the worker's thread, and only
// copies travel between the threads.
#include "port_mapper.h"

#include "net/natpmp_client.h"
#include "net/upnp_gateway.h"
#include "net/upnp_worker.h"

#include <QTimer>

namespace {

struct Round
{
    // What the worker made of the mappings asked for.
    QList<quint16> ports;     // internal = external, per mapping
    QList<quint32> leases;    // granted lease per mapping; 0: permanent
    PortMapper::Outcome failure = PortMapper::Outcome::Open;
    quint16 refused = 0;
};

// Adds port -> client:port; a router that takes only permanent mappings (725) gets one,
// which we then always remove ourselves.
int add(UpnpGateway &gateway, quint16 port, const QByteArray &client, quint32 lease, quint32 *granted)
{
    *granted = lease;
    int result = gateway.addMapping(port, port, client, lease);
    if (result == UpnpGateway::OnlyPermanentLeasesSupported) {
        *granted = 0;
        result = gateway.addMapping(port, port, client, 0);
    }
    return result;
}

// 718 means either "another machine holds it" (never taken over) or, from miniupnpd, "the
// rules do not allow this port"; the holder tells them apart.
bool heldByOther(UpnpGateway &gateway, quint16 port, const QByteArray &client)
{
    QByteArray holder;
    quint16 internal = 0;
    return gateway.mappingHolder(port, &holder, &internal) && holder != client;
}

} // namespace

void PortMapper::upnpFind()
{
    if (!m_upnp)
        m_upnp = new UpnpWorker(this);
    auto external = std::make_shared<quint32>(0);
    auto result = std::make_shared<int>(-1);
    const QByteArray url = m_config.upnpDescription;
    const QByteArray local = m_config.localAddress.toString().toLatin1();
    const int waitMs = m_config.upnpDiscoverMs;
    m_upnp->run(
        [=](UpnpGateway &gateway) {
            const bool found = url.isEmpty() ? gateway.discover(local, waitMs) : gateway.openDescription(url);
            if (found)
                *result = gateway.externalAddress(external.get());
        },
        [this, external, result, generation = m_generation] {
            if (generation != m_generation)
                return;
            m_upnpPending = false;
            const bool again = m_outcome == Outcome::Open && m_protocol == Protocol::Upnp;
            if (again && *result != 0) {
                m_renewTimer->start(retryMs());
                return;
            }
            if (!again && (m_outcome != Outcome::Trying || m_protocol == Protocol::NatPmp))
                return;
            if (*result != 0) {
                m_noPublicAddress = m_noPublicAddress || *result == UpnpGateway::NoExternalAddress;
                if (m_natPmpFailed)
                    setOutcome(failure());
                return;
            }
            m_protocol = Protocol::Upnp;
            if (m_natPmp)
                m_natPmp->cancelAll();
            m_external = *external;
            classifyExternal();
        });
}

void PortMapper::upnpMap()
{
    Round asked;
    for (const Mapping &mapping : std::as_const(m_mapped))
        asked.ports.append(mapping.internalPort);
    const QByteArray client = m_config.localAddress.toString().toLatin1();
    const quint32 lease = m_config.leaseSeconds;
    const quint16 base = m_config.highPortBase;
    auto round = std::make_shared<Round>(asked);
    m_awaiting = int(asked.ports.size());
    m_upnp->run(
        [=](UpnpGateway &gateway) {
            Round &r = *round;
            for (quint16 &port : r.ports) {
                quint32 granted = 0;
                int result = add(gateway, port, client, lease, &granted);
                if (result < 0) {
                    // No answer at all: not a refusal (a restarted router listens elsewhere).
                    r.failure = Outcome::NoRouter;
                    break;
                }
                if (result == UpnpGateway::ConflictInMappingEntry && heldByOther(gateway, port, client)) {
                    r.failure = Outcome::HeldByOther;
                } else if (result != 0 && port < 1024 && base != 0) {
                    // Refused below 1024: the host listens on a high stand-in too.
                    port = quint16(port + base);
                    result = add(gateway, port, client, lease, &granted);
                    if (result == UpnpGateway::ConflictInMappingEntry && heldByOther(gateway, port, client))
                        r.failure = Outcome::HeldByOther;
                }
                if (result != 0 && r.failure == Outcome::Open)
                    r.failure = Outcome::Refused;
                if (r.failure != Outcome::Open) {
                    r.refused = port;
                    break;
                }
                r.leases.append(granted);
            }
            if (r.failure != Outcome::Open) {
                // Nothing half-open stays behind.
                for (qsizetype i = 0; i < r.leases.size(); ++i)
                    gateway.deleteMapping(r.ports.at(i));
                r.leases.clear();
            }
        },
        [this, round, generation = m_generation] {
            if (generation != m_generation)
                return;
            m_awaiting = 0;
            if (m_outcome != Outcome::Trying && m_outcome != Outcome::Open) {
                // Stopped, or given up, meanwhile: what this round made goes again.
                if (!round->leases.isEmpty() && !m_removing)
                    upnpUnmap();
                return;
            }
            if (round->failure == Outcome::NoRouter && m_outcome == Outcome::Open) {
                // A renewal nobody answered: the router restarted (miniupnpd then takes
                // another HTTP port) or is away for a while. Find it again and map anew;
                // what it still holds stands until its lease ends.
                upnpFind();
                return;
            }
            if (round->failure != Outcome::Open) {
                for (Mapping &mapping : m_mapped)
                    mapping.held = false;
                m_refusedPort = round->refused;
                m_renewTimer->stop();
                m_deadline->stop();
                setOutcome(round->failure);
                return;
            }
            for (qsizetype i = 0; i < m_mapped.size(); ++i) {
                m_mapped[i].internalPort = round->ports.at(i);
                m_mapped[i].externalPort = round->ports.at(i);
                m_mapped[i].lifetime = round->leases.at(i);
                m_mapped[i].held = true;
            }
            allMapped();
        });
}

void PortMapper::upnpUnmap()
{
    // Every port this host may have asked for, standard and high stand-in alike, as long as
    // the router says it is ours: another machine's mapping is never touched.
    QList<quint16> ports;
    for (Mapping &mapping : m_mapped) {
        ports.append(mapping.internalPort);
        mapping.held = false;
    }
    for (quint16 port : {m_config.matchPort, m_config.probePort}) {
        if (!ports.contains(port))
            ports.append(port);
        if (port < 1024 && m_config.highPortBase != 0 && !ports.contains(quint16(port + m_config.highPortBase)))
            ports.append(quint16(port + m_config.highPortBase));
    }
    const QByteArray client = m_config.localAddress.toString().toLatin1();
    m_upnp->run(
        [=](UpnpGateway &gateway) {
            for (quint16 port : ports) {
                QByteArray holder;
                quint16 internal = 0;
                if (gateway.mappingHolder(port, &holder, &internal) && holder == client)
                    gateway.deleteMapping(port);
            }
        },
        [this, generation = m_generation] {
            if (generation == m_generation && m_removing)
                removalDone();
        });
}
