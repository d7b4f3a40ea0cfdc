#include "lan_host_list.h"

#include "lan_announcement.h"
#include "net/host_address.h"

#include <QHostAddress>
#include <QTimer>
#include <QUdpSocket>

#include <algorithm>

namespace {

// How often the interfaces are read again: at most this often when a datagram comes from
// outside the known subnets (an interface may just have come up), and at least this often
// otherwise (so a net that went away stops counting).
constexpr qint64 SubnetsRereadMs = 2000;
constexpr qint64 SubnetsMaxAgeMs = 10000;
constexpr int SweepMs = 500;

} // namespace

QString LanHost::addressText() const
{
    return QHostAddress(address).toString();
}

QString lanHostEntry(const LanHost &host, quint16 localMatchPort, quint16 localProbePort)
{
    if (host.matchPort == localMatchPort && host.probePort == localProbePort)
        return host.addressText();
    return QStringLiteral("%1_%2_%3").arg(host.addressText()).arg(host.matchPort).arg(host.probePort);
}

QString lanHostPublicEntry(const LanHost &host, quint16 localMatchPort, quint16 localProbePort)
{
    if (host.publicAddress == 0)
        return {};
    return HostAddress::make(host.publicAddress, host.publicMatchPort, host.publicProbePort)
        .registryName(localMatchPort, localProbePort);
}

LanHostList::LanHostList(QObject *parent)
    : QObject(parent)
    , m_sweep(new QTimer(this))
    , m_more(new QTimer(this))
{
    m_clock.start();
    m_sweep->setInterval(SweepMs);
    connect(m_sweep, &QTimer::timeout, this, &LanHostList::sweep);
    m_more->setSingleShot(true);
    m_more->setInterval(0);
    connect(m_more, &QTimer::timeout, this, &LanHostList::readBatch);
}

bool LanHostList::listen(quint16 port)
{
    if (port == 0)
        return false;  // the LAN is turned off
    if (m_socket)
        return m_socket->state() == QAbstractSocket::BoundState;
    m_socket = new QUdpSocket(this);
    connect(m_socket, &QUdpSocket::readyRead, this, &LanHostList::readBatch);
    // Every program on this machine listens on the same port.
    return m_socket->bind(QHostAddress::AnyIPv4, port,
                          QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint);
}

void LanHostList::setSubnets(const LocalSubnets &subnets)
{
    m_subnets = subnets;
    m_fixedSubnets = true;
}

void LanHostList::setExpiryMs(int ms)
{
    m_expiryMs = ms;
}

bool LanHostList::fromThisLan(quint32 source)
{
    if (m_fixedSubnets)
        return m_subnets.contains(source);
    const qint64 now = m_clock.elapsed();
    const qint64 age = m_subnetsReadMs < 0 ? SubnetsMaxAgeMs : now - m_subnetsReadMs;
    if (age >= SubnetsMaxAgeMs || (age >= SubnetsRereadMs && !m_subnets.contains(source))) {
        m_subnets = LocalSubnets::ofThisMachine();
        m_subnetsReadMs = now;
    }
    return m_subnets.contains(source);
}

bool LanHostList::take(QByteArrayView datagram, quint32 source)
{
    const std::optional<LanAnnouncement> a = LanAnnouncement::parse(datagram);
    if (!a || a->address != source || !fromThisLan(source))
        return false;

    const auto same = [&](const LanHost &h) {
        return h.address == source && h.matchPort == a->matchPort;
    };
    const auto it = std::find_if(m_hosts.begin(), m_hosts.end(), same);
    if (a->kind == LanAnnouncement::Kind::Goodbye) {
        if (it == m_hosts.end())
            return false;
        m_hosts.erase(it);
        if (m_hosts.isEmpty())
            m_sweep->stop();
        return true;
    }

    const qint64 now = m_clock.elapsed();
    if (it != m_hosts.end()) {
        it->lastHeardMs = now;
        if (it->probePort == a->probePort && it->name == a->name && it->publicAddress == a->publicAddress
            && it->publicMatchPort == a->publicMatchPort && it->publicProbePort == a->publicProbePort)
            return false;
        it->probePort = a->probePort;
        it->name = a->name;
        it->publicAddress = a->publicAddress;
        it->publicMatchPort = a->publicMatchPort;
        it->publicProbePort = a->publicProbePort;
        return true;
    }
    // A full list keeps the hosts it has; newcomers wait for a place to fall free.
    if (m_hosts.size() >= MaxHosts)
        return false;
    m_hosts.append({source, a->matchPort, a->probePort, a->name, now, a->publicAddress,
                    a->publicMatchPort, a->publicProbePort});
    if (!m_sweep->isActive())
        m_sweep->start();
    return true;
}

bool LanHostList::expire()
{
    const qint64 now = m_clock.elapsed();
    const qsizetype removed = m_hosts.removeIf(
        [&](const LanHost &h) { return now - h.lastHeardMs > m_expiryMs; });
    if (m_hosts.isEmpty())
        m_sweep->stop();  // nothing to forget: no wake-ups while idle
    return removed > 0;
}

void LanHostList::sweep()
{
    if (expire())
        emit hostsChanged();
}

void LanHostList::readBatch()
{
    if (!m_socket)
        return;
    bool changed = false;
    // One byte more than the largest datagram: a datagram that fills it is oversized (the
    // rest of it is dropped by the read itself).
    QByteArray buffer(LanAnnouncement::MaxBytes + 1, Qt::Uninitialized);
    for (int i = 0; i < BatchSize && m_socket->hasPendingDatagrams(); ++i) {
        QHostAddress source;
        const qint64 got = m_socket->readDatagram(buffer.data(), buffer.size(), &source);
        bool ok = false;
        const quint32 from = source.toIPv4Address(&ok);
        if (got >= 0 && got <= LanAnnouncement::MaxBytes && ok
            && take(QByteArrayView(buffer.constData(), got), from))
            changed = true;
    }
    // The rest waits for the next turn, after the window's own events.
    if (m_socket->hasPendingDatagrams())
        m_more->start();
    if (changed)
        emit hostsChanged();
}
