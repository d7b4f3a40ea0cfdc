#pragma once

#include "lan_announcement.h"

#include <QHostAddress>
#include <QList>
#include <QNetworkAddressEntry>
#include <QObject>

class QTimer;
class QUdpSocket;

// Tells the LAN that a host is open: an announcement at once and about once a second while
// started, a goodbye when stopped (or destroyed while started). It sends to the directed
// broadcast address of the interface that holds the host's own address, so it never reaches
// past that subnet; a loopback address keeps it on loopback, and an address that no
// interface holds (a hand-set one) keeps it silent.
class LanAnnouncer : public QObject
{
    Q_OBJECT
public:
    static constexpr int IntervalMs = 1000;

    explicit LanAnnouncer(QObject *parent = nullptr);
    ~LanAnnouncer() override;

    void start(const QString &localAddress, quint16 matchPort, quint16 probePort,
               const QString &name);
    // The host's name may be known only after it opened; the next announcement carries it.
    void setName(const QString &name);
    // Where the registry lists the host once its router maps its ports (0: nowhere else).
    void setPublicPlace(quint32 address, quint16 matchPort, quint16 probePort);
    void stop();
    bool isAnnouncing() const;
    // Where the datagrams go, or a null address for nowhere.
    QHostAddress destination() const { return m_destination; }

    // The broadcast address for `local` among `entries`: loopback stays on loopback; an
    // address no entry holds, or one without a broadcast address, gives a null address.
    static QHostAddress destinationFor(const QHostAddress &local,
                                       const QList<QNetworkAddressEntry> &entries);

private:
    void send(LanAnnouncement::Kind kind);
    void announceChange();

    QUdpSocket *m_socket;
    QTimer *m_timer;
    QHostAddress m_destination;
    quint16 m_port;
    LanAnnouncement m_announcement;
};
