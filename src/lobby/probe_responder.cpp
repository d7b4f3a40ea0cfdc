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
{
    connect(&m_server, &QTcpServer::newConnection, this, &ProbeResponder::Hear_ConnectionRequest);
}

bool ProbeResponder::listen(quint16 port)
{
    m_port = port;
    m_server.close();
    return m_server.listen(QHostAddress::Any, port);
}

bool ProbeResponder::isServing() const
{
    return m_peer && m_peer->state() == QAbstractSocket::ConnectedState;
}

void ProbeResponder::Hear_ConnectionRequest()
{
    QTcpSocket *socket = m_server.nextPendingConnection();
    // One peer at a time: stop listening, and turn away anyone who came in with it.
    m_server.close();
    while (QTcpSocket *other = m_server.nextPendingConnection()) {
        other->abort();
        other->deleteLater();
    }
    dropPeer();
    if (!socket) {
        m_server.listen(QHostAddress::Any, m_port);
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
    m_server.listen(QHostAddress::Any, m_port);
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
    m_server.listen(QHostAddress::Any, m_port);
}
