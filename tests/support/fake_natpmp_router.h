#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>

class QUdpSocket;

// A home router's NAT-PMP side on loopback, for the port mapper's tests: answers the external
// address and mapping requests, keeps the mappings, and can be told to misbehave.
class FakeNatPmpRouter : public QObject
{
    Q_OBJECT
public:
    enum class Mode {
        Answer,
        Silent,          // never answers
        Short,           // 7-byte replies
        WrongOpcode,     // replies to another request
        WrongVersion,
        FromOtherPort,   // a correct reply, forged from another port
        OtherInternalPort,  // a mapping reply for a port nobody asked
        ShortRefusal,    // refusals of 8 bytes, as the RFC allows
        MapSilently,     // makes and removes mappings, but its mapping replies never come
        NoAddress,       // no external address to give (result 3), as behind a CGNAT
    };

    explicit FakeNatPmpRouter(QObject *parent = nullptr);
    ~FakeNatPmpRouter() override;

    quint16 port() const;
    Mode mode = Mode::Answer;
    quint32 externalAddress = 0xC6130001;  // 198.19.0.1
    quint32 epoch = 1000;
    // Copies of each request left unanswered before one is answered (retry tests).
    int ignoreCopies = 0;
    // Internal ports below this are refused (result 2), as miniupnpd's default rules do.
    quint16 lowestAllowed = 0;
    // Added to the suggested external port, as a router whose port is taken elsewhere.
    quint16 externalShift = 0;
    quint32 maxLifetime = 3600;

    QList<QByteArray> requests;
    QHash<quint16, quint16> mappings;  // internal port -> external port

    // Forgets every mapping and starts its epoch again, as a router after a restart.
    void restart();

private:
    void read();
    QByteArray answer(const QByteArray &request);

    QUdpSocket *m_socket;
    QUdpSocket *m_other;
    int m_copies = 0;
};
