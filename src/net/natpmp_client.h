#pragma once

#include "net/natpmp_message.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QList>
#include <QObject>

class QTimer;
class QUdpSocket;

// Speaks NAT-PMP with one router, one request at a time, without blocking: each request is
// sent again after 250 ms, then 500 ms, 1 s, ... (RFC 6886's doubling) until the deadline,
// then given up. Replies from any other address or port, of another opcode, short ones, or
// mapping replies for another internal port are ignored, so a forged or stray datagram can
// neither answer a request nor end it.
class NatPmpClient : public QObject
{
    Q_OBJECT
public:
    // The RFC retries for a minute; a player waits 3 s at most for the whole answer.
    static constexpr int DefaultDeadlineMs = 2600;

    NatPmpClient(const QHostAddress &router, quint16 port, QObject *parent = nullptr);
    ~NatPmpClient() override;

    void setDeadlineMs(int ms) { m_deadlineMs = ms; }
    void requestExternalAddress();
    void requestMapping(quint8 opcode, quint16 internalPort, quint16 externalPort, quint32 lifetime);
    // Drops every request, the one under way included, without a signal.
    void cancelAll();
    // Requests not yet answered or given up, the one under way included.
    int pending() const { return int(m_queue.size()); }

signals:
    void replied(const NatPmp::Reply &reply);
    void timedOut(quint8 opcode, quint16 internalPort);
    // The router's epoch went back: it has restarted and forgotten every mapping.
    void routerRestarted();

private:
    struct Request
    {
        QByteArray datagram;
        quint8 opcode;
        quint16 internalPort;
    };
    void enqueue(const Request &request);
    void sendCurrent();
    void retry();
    void readDatagrams();
    void checkEpoch(quint32 epoch);
    void finishCurrent();

    QHostAddress m_router;
    quint16 m_port;
    QUdpSocket *m_socket;
    QTimer *m_retry;
    QList<Request> m_queue;
    QElapsedTimer m_sentFirst;
    int m_nextWaitMs = 0;
    int m_deadlineMs = DefaultDeadlineMs;
    bool m_knowEpoch = false;
    quint32 m_epoch = 0;
    QElapsedTimer m_epochSeen;
};
