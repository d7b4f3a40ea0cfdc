#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QTcpServer>
#include <QTcpSocket>

// A bare TCP end on loopback standing in for the other player: it records every arrival
// as one message (as the screens read them) and sends whatever bytes a test gives it. It
// connects to a host screen, or listens for a joiner screen and takes the first one.
class MatchPeer : public QObject
{
    Q_OBJECT
public:
    explicit MatchPeer(QObject *parent = nullptr);

    bool connectTo(quint16 port, int timeoutMs = 10000);
    bool listen(quint16 port);
    bool isConnected() const { return m_socket->state() == QAbstractSocket::ConnectedState; }
    void sendRaw(const QByteArray &bytes);
    void send(const QString &message);
    QTcpSocket &socket() { return *m_socket; }

    // Everything received so far, one entry per arrival, decoded from the code page, and
    // when each came in milliseconds after the connection was made.
    QStringList messages;
    QList<qint64> arrivedAfter;

private:
    void attach(QTcpSocket *socket);

    QTcpServer m_server;
    QTcpSocket *m_socket = nullptr;
    QElapsedTimer m_clock;
};
