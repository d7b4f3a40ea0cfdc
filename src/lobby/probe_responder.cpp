#include "probe_responder.h"

#include <QTcpSocket>

namespace {

// Listening on every address gives IPv4 peers as IPv6-mapped addresses; the host list
// holds dotted IPv4 addresses.
QString plainAddress(const QHostAddress &address)
{
    bool isIpv4 = false;
    const quint32 ipv4 = address.toIPv4Address(&isIpv4);
    return isIpv4 ? QHostAddress(ipv4).toString() : address.toString();
}

} // namespace

ProbeResponder::ProbeResponder(QObject *parent)
    : QObject(parent)
    , m_server(this)
    , m_also(this)
{
    connect(&m_server, &QTcpServer::newConnection, this, &ProbeResponder::Hear_ConnectionRequest);
    connect(&m_also, &QTcpServer::newConnection, this, &ProbeResponder::Hear_ConnectionRequest);
}

bool ProbeResponder::listen(quint16 port)
{
    m_port = port;
    m_server.close();
    return m_server.listen(QHostAddress::Any, port);
}

bool ProbeResponder::listenAlso(quint16 port)
{
    m_alsoPort = port;
    if (m_peer)
        return true;  // listens again, on both, once the peer is served
    return m_also.isListening() || m_also.listen(QHostAddress::Any, port);
}

void ProbeResponder::listenAgain()
{
    m_server.listen(QHostAddress::Any, m_port);
    if (m_alsoPort != 0)
        m_also.listen(QHostAddress::Any, m_alsoPort);
}

QTcpSocket *ProbeResponder::nextPending()
{
    QTcpSocket *socket = m_server.nextPendingConnection();
    return socket ? socket : m_also.nextPendingConnection();
}

bool ProbeResponder::isServing() const
{
    return m_peer && m_peer->state() == QAbstractSocket::ConnectedState;
}

void ProbeResponder::Hear_ConnectionRequest()
{
    QTcpSocket *socket = nextPending();
    // One peer at a time: stop listening, and turn away anyone who came in with it.
    m_server.close();
    m_also.close();
    while (QTcpSocket *other = nextPending()) {
        other->abort();
        other->deleteLater();
    }
    dropPeer();
    if (!socket) {
        listenAgain();
        return;
    }
    m_peer = socket;
    m_peerSpoke = false;
    socket->setParent(this);
    connect(socket, &QTcpSocket::readyRead, this, &ProbeResponder::Hear_DataArrival);
    connect(socket, &QTcpSocket::disconnected, this, &ProbeResponder::Hear_Close);
    if (socket->state() != QAbstractSocket::ConnectedState)
        Hear_Close();
}

void ProbeResponder::Hear_DataArrival()
{
    if (!m_peer)
        return;
    // One arrival is one message: whatever is there now, compared exactly.
    const QByteArray text = m_peer->readAll();
    if (text.isEmpty())
        return;
    m_peerSpoke = true;
    ++m_arrivals;
    if (text == "ping") {
        m_peer->write("pong");
        closeAndListen();
    } else if (text == "pong") {
        const QString address = plainAddress(m_peer->peerAddress());
        const QPointer<ProbeResponder> self(this);
        emit pongHeard(address);
        if (self)
            closeAndListen();
    }
}

void ProbeResponder::Hear_Close()
{
    if (!m_peer || m_peerSpoke)
        return;  // a peer that spoke leaves the responder as its words did
    dropPeer();
    listenAgain();
}

void ProbeResponder::dropPeer()
{
    if (!m_peer)
        return;
    QTcpSocket *socket = m_peer;
    m_peer = nullptr;
    disconnect(socket, nullptr, this, nullptr);
    socket->abort();
    socket->deleteLater();
}

void ProbeResponder::closeAndListen()
{
    if (m_peer) {
        // The socket goes once its last bytes ("pong") are out.
        QTcpSocket *socket = m_peer;
        m_peer = nullptr;
        disconnect(socket, nullptr, this, nullptr);
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        socket->disconnectFromHost();
        if (socket->state() == QAbstractSocket::UnconnectedState)
            socket->deleteLater();
    }
    listenAgain();
}
