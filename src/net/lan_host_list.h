#pragma once

#include "local_subnets.h"

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QString>

class QTimer;
class QUdpSocket;

// One host heard on the LAN. The address is always the datagram's source.
struct LanHost
{
    quint32 address = 0;
    quint16 matchPort = 0;
    quint16 probePort = 0;
    QString name;
    qint64 lastHeardMs = 0;
    // Where the registry lists it, when its router maps its ports; 0 when it does not.
    quint32 publicAddress = 0;
    quint16 publicMatchPort = 0;
    quint16 publicProbePort = 0;

    QString addressText() const;
};

// The text a host list shows for a LAN host: its address, or ADDRESS_MATCHPORT_PROBEPORT
// when its ports are not the ones this machine uses.
QString lanHostEntry(const LanHost &host, quint16 localMatchPort, quint16 localProbePort);
// The registry name the host is listed under on the internet, written as the registry
// writes it; empty when its router maps nothing.
QString lanHostPublicEntry(const LanHost &host, quint16 localMatchPort, quint16 localProbePort);

// The hosts that announce themselves on this machine's LANs. Listens on the discovery port
// (shared with every other program on the machine), keeps at most MaxHosts, forgets a host
// ExpiryMs after its last announcement and at once on its goodbye, and says so through
// hostsChanged (once per batch of datagrams, only when the list changed).
//
// Hostile senders: each datagram costs one bounded parse; garbage, oversized, forged (the
// content names another address than the source) and off-subnet ones are dropped; at most
// BatchSize are handled per turn of the event loop, so a flood leaves the window its turns.
class LanHostList : public QObject
{
    Q_OBJECT
public:
    static constexpr int MaxHosts = 256;
    static constexpr int ExpiryMs = 3500;
    static constexpr int BatchSize = 64;

    explicit LanHostList(QObject *parent = nullptr);

    // False when the port cannot be had (or is 0); the list then simply stays empty.
    bool listen(quint16 port);
    // In the order first heard.
    const QList<LanHost> &hosts() const { return m_hosts; }

    // One datagram from `source`; true when the list changed. The listener's own road, and
    // the tests'.
    bool take(QByteArrayView datagram, quint32 source);
    // Drops hosts not heard for longer than the expiry; true when any went.
    bool expire();

    // Tests: fixed subnets instead of this machine's, and a shorter memory.
    void setSubnets(const LocalSubnets &subnets);
    void setExpiryMs(int ms);

signals:
    void hostsChanged();

private:
    void readBatch();
    bool fromThisLan(quint32 source);
    void sweep();

    QUdpSocket *m_socket = nullptr;
    QTimer *m_sweep;
    QTimer *m_more;
    QElapsedTimer m_clock;
    QList<LanHost> m_hosts;
    LocalSubnets m_subnets;
    qint64 m_subnetsReadMs = -1;
    bool m_fixedSubnets = false;
    int m_expiryMs = ExpiryMs;
};
