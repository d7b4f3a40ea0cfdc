#include "match_peer.h"

#include "wire/wire_message.h"

#include <QHostAddress>
#include <QSignalSpy>

MatchPeer::MatchPeer(QObject *parent)
    : QObject(parent)
{
    attach(new QTcpSocket(this));
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        if (QTcpSocket *joiner = m_server.nextPendingConnection(); joiner && !isConnected()) {
            m_socket->deleteLater();
            attach(joiner);
        }
    });
}

void MatchPeer::attach(QTcpSocket *socket)
{
    // An accepted socket is connected already; our own starts the clock when it is.
    m_socket = socket;
    m_clock.start();
    connect(socket, &QTcpSocket::connected, this, [this] { m_clock.start(); });
    connect(socket, &QTcpSocket::readyRead, this, [this] {
        messages << WireMessage::decode(m_socket->readAll());
        arrivedAfter << m_clock.elapsed();
    });
}

bool MatchPeer::connectTo(quint16 port, int timeoutMs)
{
    QSignalSpy made(m_socket, &QTcpSocket::connected);
    m_socket->connectToHost(QHostAddress::LocalHost, port);
    return made.wait(timeoutMs) || isConnected();
}

bool MatchPeer::listen(quint16 port)
{
    return m_server.listen(QHostAddress::LocalHost, port);
}

void MatchPeer::sendRaw(const QByteArray &bytes)
{
    m_socket->write(bytes);
    m_socket->flush();
}

void MatchPeer::send(const QString &message)
{
    sendRaw(WireMessage::encode(message));
}
