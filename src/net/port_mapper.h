#pragma once

#include "net/address_class.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QList>
#include <QObject>

class NatPmpClient;
class UpnpWorker;
class QTimer;
namespace NatPmp { struct Reply; }

// Opens the host's match and probe ports on the home router while a host screen is open, and
// says what holds: a plain object the shell drives, never blocking the UI thread. It asks the
// router (NAT-PMP) for its external address first, and maps only when that address can be
// reached from the internet; it renews each lease at half its life, maps again when the
// router has restarted, and removes every mapping on stop(). The screen picks the words for
// the outcome.
class PortMapper : public QObject
{
    Q_OBJECT
public:
    enum class Outcome {
        Idle,         // not started, or stopped
        Trying,
        Open,         // mapped, and the external address is public
        NoRouter,     // nothing answered in time (or nothing was asked: loopback)
        Refused,      // the router refused refusedPort()
        HeldByOther,  // another machine on the LAN holds refusedPort()
        SharedAddress,  // the provider shares one address among many (CGNAT)
        DoubleNat,      // the router's own external address is private: a second router
        NotReachable,   // the external address is otherwise reserved
        NoPublicAddress,  // the router answered that it has no public address to give
    };
    Q_ENUM(Outcome)

    struct Config
    {
        QHostAddress localAddress;
        quint16 matchPort = 0;
        quint16 probePort = 0;
        // The router to ask; null: the default gateway (never asked for a loopback address).
        QHostAddress router;
        quint16 natPmpPort = 5351;
        quint32 leaseSeconds = 3600;
        int deadlineMs = 2600;  // whole answer within 3 s
        // A refused port below 1024 is mapped again from this base up (1009 -> 41009);
        // 0: no second try.
        quint16 highPortBase = 40000;
        QList<Ipv4Net> publicNets;
        bool natPmp = true;
        // UPnP-IGD beside NAT-PMP: whichever router answers first is the one used. With no
        // description URL (labs and tests name one) the router is found through SSDP, which
        // is never sent from a loopback address.
        bool upnp = true;
        QByteArray upnpDescription;
        // SSDP discovery waits this long for answers, whatever comes. libminiupnpc waits
        // 1 s at the least (MX 1: a router may hold its answer back up to a second); more
        // only delays every UPnP mapping.
        int upnpDiscoverMs = 1000;
    };

    explicit PortMapper(QObject *parent = nullptr);
    ~PortMapper() override;

    void start(const Config &config);
    // Removes every mapping made; removed() follows once the router has answered each removal
    // or the deadline has passed. Right away when nothing is mapped.
    void stop();
    bool removing() const { return m_removing > 0; }

    Outcome outcome() const { return m_outcome; }
    quint16 refusedPort() const { return m_refusedPort; }
    quint32 externalAddress() const { return m_external; }
    quint16 externalMatchPort() const { return m_mapped.value(0).externalPort; }
    quint16 externalProbePort() const { return m_mapped.value(1).externalPort; }
    // The local ports mapped: the configured ones, or their high stand-ins when the router
    // refused those. The host must listen on these too.
    quint16 localMatchPort() const { return m_mapped.value(0).internalPort; }
    quint16 localProbePort() const { return m_mapped.value(1).internalPort; }
    // Mappings the router holds for us now.
    int mappings() const;

signals:
    void outcomeChanged(PortMapper::Outcome outcome);
    // Still open, but at another external address or ports than before (a renewal after
    // the router restarted, or the provider's new address): publish the new place.
    void placeChanged();
    void removed();

private:
    enum class Protocol { None, NatPmp, Upnp };
    struct Mapping
    {
        quint16 internalPort = 0;
        quint16 externalPort = 0;
        quint32 lifetime = 0;
        bool held = false;
    };
    void setOutcome(Outcome outcome);
    void natPmpReplied(const NatPmp::Reply &reply);
    void natPmpTimedOut(quint8 opcode, quint16 internalPort);
    void requestMappings();
    void renew();
    // When a renewal got no answer: soon, and before the lease runs out.
    int retryMs() const;
    int indexOfInternal(quint16 internalPort) const;
    void removalDone();
    void releaseHeld();
    void natPmpFailed();
    // What the player hears when no protocol could map: no router, or one without an
    // address of its own on the internet.
    Outcome failure() const { return m_noPublicAddress ? Outcome::NoPublicAddress : Outcome::NoRouter; }
    void classifyExternal();
    void allMapped();
    // UPnP, in port_mapper_upnp.cpp.
    void upnpFind();
    void upnpMap();
    void upnpUnmap();

    Config m_config;
    NatPmpClient *m_natPmp = nullptr;
    UpnpWorker *m_upnp = nullptr;
    Protocol m_protocol = Protocol::None;
    bool m_natPmpFailed = false;
    bool m_noPublicAddress = false;
    bool m_upnpPending = false;
    QTimer *m_renewTimer;
    QTimer *m_deadline;
    Outcome m_outcome = Outcome::Idle;
    quint16 m_refusedPort = 0;
    quint32 m_external = 0;
    QList<Mapping> m_mapped;  // [0] match port, [1] probe port
    int m_removing = 0;
    int m_awaiting = 0;
    int m_generation = 0;  // one per start(): UPnP answers of an earlier one are dropped  // mapping replies still to come in this round
    QString m_openPlace;
};

// The default IPv4 gateway of the interface that holds `localAddress`; null when unknown.
QHostAddress defaultGateway(const QHostAddress &localAddress);
