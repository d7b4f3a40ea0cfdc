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
//
// A peer that goes away before it has sent a single byte was no visitor: a lobby's probe
// abandons its connection at once, and a handshake the kernel completed just before that
// shows up here as such a peer. The responder then listens again. (A reset and an orderly
// close cannot be told apart reliably through the socket layer on every platform, so both
// count alike here; a peer that sent anything at all stays under the rules above.)
class ProbeResponder : public QObject
{
    Q_OBJECT

public:
    explicit ProbeResponder(QObject *parent = nullptr);

    // Listens on every address at `port`; false if the port cannot be had.
    bool listen(quint16 port);
    bool isListening() const { return m_server.isListening(); }
    // Listens on a second port as well (the high local port a home router maps when it
    // refuses the probe port itself); both follow the same one-peer-at-a-time rule.
    bool listenAlso(quint16 port);
    // A peer is connected and being served.
    bool isServing() const;
    // Arrivals handled so far, whatever their text.
    int arrivals() const { return m_arrivals; }

signals:
    void pongHeard(const QString &address);

private:
    void Hear_ConnectionRequest();
    void Hear_DataArrival();
    void Hear_Close();
    void dropPeer();
    void closeAndListen();
    void listenAgain();
    QTcpSocket *nextPending();

    QTcpServer m_server;  // a child, so that unloading the screen finds and closes it
    QTcpServer m_also;
    quint16 m_alsoPort = 0;
    QPointer<QTcpSocket> m_peer;
    bool m_peerSpoke = false;  // the peer has sent at least one byte
    quint16 m_port = 0;
    int m_arrivals = 0;
};
