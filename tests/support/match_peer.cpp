#include "match_peer.h"

#include "match/wire_message.h"

#include <QHostAddress>
#include <QSignalSpy>

MatchPeer::MatchPeer(QObject *parent)
    : QObject(parent)
{
    connect(&m_socket, &QTcpSocket::readyRead, this, [this] {
        messages << WireMessage::decode(m_socket.readAll());
    });
}

bool MatchPeer::connectTo(quint16 port, int timeoutMs)
{
    QSignalSpy made(&m_socket, &QTcpSocket::connected);
    m_socket.connectToHost(QHostAddress::LocalHost, port);
    return made.wait(timeoutMs) || m_socket.state() == QAbstractSocket::ConnectedState;
}

void MatchPeer::sendRaw(const QByteArray &bytes)
{
    m_socket.write(bytes);
    m_socket.flush();
}

void MatchPeer::send(const QString &message)
{
    sendRaw(WireMessage::encode(message));
}
