#pragma once

#include <QObject>
#include <QPointer>
#include <QTcpServer>

class QTcpSocket;

// The lobby's probe responder `Hear` on the probe port. It serves one peer at a time:
// accepting a connection ends the listening. An arrival of exactly "ping" is answered with
// "pong"; an arrival of exactly "pong" reports the peer's address; after either the
// connection is closed and the responder listens again. Any other arrival leaves the
// connection as it is and the responder out of service until it is started anew.
class ProbeResponder : public QObject
{
    Q_OBJECT

public:
    explicit ProbeResponder(QObject *parent = nullptr);

    // Listens on every address at `port`; false if the port cannot be had.
    bool listen(quint16 port);
    bool isListening() const { return m_server.isListening(); }
    // A peer is connected and being served.
    bool isServing() const;
    // Arrivals handled so far, whatever their text.
    int arrivals() const { return m_arrivals; }

signals:
    void pongHeard(const QString &address);

private:
    void Hear_ConnectionRequest();
    void Hear_DataArrival();
    void closeAndListen();

    QTcpServer m_server;
    QPointer<QTcpSocket> m_peer;
    quint16 m_port = 0;
    int m_arrivals = 0;
};
