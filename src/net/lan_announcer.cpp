#include "lan_announcer.h"

#include <QNetworkInterface>
#include <QTimer>
#include <QUdpSocket>

namespace {

// Every socket bound to the port on this machine hears a datagram sent to the loopback
// net's broadcast address; a unicast one would reach only one of the programs sharing it.
const QHostAddress LoopbackBroadcast(QStringLiteral("127.255.255.255"));

QList<QNetworkAddressEntry> entriesOfThisMachine()
{
    QList<QNetworkAddressEntry> entries;
    for (const QNetworkInterface &face : QNetworkInterface::allInterfaces()) {
        const auto flags = face.flags();
        if (flags.testFlag(QNetworkInterface::IsUp) && flags.testFlag(QNetworkInterface::CanBroadcast))
            entries += face.addressEntries();
    }
    return entries;
}

} // namespace

LanAnnouncer::LanAnnouncer(QObject *parent)
    : QObject(parent)
    , m_socket(new QUdpSocket(this))
    , m_timer(new QTimer(this))
    , m_port(LanAnnouncement::port())
{
    m_timer->setInterval(IntervalMs);
    connect(m_timer, &QTimer::timeout, this, [this] { send(LanAnnouncement::Kind::Announce); });
}

LanAnnouncer::~LanAnnouncer()
{
    // A program that ends without closing its host screen still takes itself off the list.
    stop();
}

QHostAddress LanAnnouncer::destinationFor(const QHostAddress &local,
                                          const QList<QNetworkAddressEntry> &entries)
{
    bool ok = false;
    const quint32 own = local.toIPv4Address(&ok);
    if (!ok || own == 0)
        return {};
    if (local.isLoopback())
        return LoopbackBroadcast;
    for (const QNetworkAddressEntry &entry : entries) {
        if (entry.ip().protocol() == QAbstractSocket::IPv4Protocol
            && entry.ip().toIPv4Address() == own)
            return entry.broadcast().protocol() == QAbstractSocket::IPv4Protocol
                       ? entry.broadcast()
                       : QHostAddress();
    }
    return {};
}

void LanAnnouncer::start(const QString &localAddress, quint16 matchPort, quint16 probePort,
                         const QString &name)
{
    stop();
    if (m_port == 0)
        return;  // the LAN is turned off
    const QHostAddress local(localAddress);
    m_destination = destinationFor(local, local.isLoopback() ? QList<QNetworkAddressEntry>()
                                                             : entriesOfThisMachine());
    if (m_destination.isNull())
        return;
    // Sent from the host's own address: listeners take the source, and drop a datagram
    // whose content names another.
    m_socket->abort();
    m_socket->bind(local, 0);
    m_announcement.kind = LanAnnouncement::Kind::Announce;
    m_announcement.matchPort = matchPort;
    m_announcement.probePort = probePort;
    m_announcement.address = local.toIPv4Address();
    m_announcement.name = name;
    m_announcement.publicAddress = 0;
    m_announcement.publicMatchPort = 0;
    m_announcement.publicProbePort = 0;
    send(LanAnnouncement::Kind::Announce);
    m_timer->start();
}

void LanAnnouncer::setName(const QString &name)
{
    m_announcement.name = name;
    announceChange();
}

void LanAnnouncer::setPublicPlace(quint32 address, quint16 matchPort, quint16 probePort)
{
    m_announcement.publicAddress = address;
    m_announcement.publicMatchPort = matchPort;
    m_announcement.publicProbePort = probePort;
    announceChange();
}

void LanAnnouncer::announceChange()
{
    if (isAnnouncing()) {
        // Listeners learn it now, not a second later.
        send(LanAnnouncement::Kind::Announce);
        m_timer->start();
    }
}

void LanAnnouncer::stop()
{
    if (!isAnnouncing())
        return;
    m_timer->stop();
    send(LanAnnouncement::Kind::Goodbye);
    m_destination.clear();
}

bool LanAnnouncer::isAnnouncing() const
{
    return m_timer->isActive();
}

void LanAnnouncer::send(LanAnnouncement::Kind kind)
{
    if (m_destination.isNull())
        return;
    LanAnnouncement datagram = m_announcement;
    datagram.kind = kind;
    // A failed send (no route for a moment, a full buffer) is made good by the next one.
    m_socket->writeDatagram(datagram.encode(), m_destination, m_port);
}
