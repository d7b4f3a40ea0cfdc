#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QTcpSocket>

// A bare TCP end on loopback standing in for the other player: it records every arrival
// as one message (as the screens read them) and sends whatever bytes a test gives it.
class MatchPeer : public QObject
{
    Q_OBJECT
public:
    explicit MatchPeer(QObject *parent = nullptr);

    bool connectTo(quint16 port, int timeoutMs = 10000);
    void sendRaw(const QByteArray &bytes);
    void send(const QString &message);
    QTcpSocket &socket() { return m_socket; }

    // Everything received so far, one entry per arrival, decoded from the code page.
    QStringList messages;

private:
    QTcpSocket m_socket;
};
