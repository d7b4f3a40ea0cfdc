#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QTcpServer>

class QTcpSocket;

// A home router's UPnP-IGD side on loopback (HTTP description and SOAP control), for tests
// that skip SSDP and name its description URL. It keeps TCP mappings and can misbehave.
class FakeIgd : public QObject
{
    Q_OBJECT
public:
    enum class Mode {
        Answer,
        GarbageDescription,
        HugeDescription,  // 4 MB of elements
        MalformedSoap,    // control answers that are not XML
    };

    explicit FakeIgd(QObject *parent = nullptr);

    QByteArray descriptionUrl() const;
    Mode mode = Mode::Answer;
    QByteArray externalAddress = "198.19.0.1";
    // Answers AddPortMapping with 725 unless the lease is 0 (permanent).
    bool permanentOnly = false;
    // Internal ports below this are refused (718, as miniupnpd answers a denied port).
    quint16 lowestAllowed = 0;

    struct Mapping
    {
        QByteArray client;
        quint16 internalPort = 0;
        quint32 lease = 0;
    };
    QHash<quint16, Mapping> mappings;  // by external port

    // Switched off: nothing listens, and every mapping is forgotten. On again at the same
    // address, as a router after a restart.
    void switchOff();
    bool switchOn();

private:
    void serve(QTcpSocket *socket);
    QByteArray answer(const QByteArray &head, const QByteArray &body);

    QTcpServer m_server;
    quint16 m_port = 0;
};
