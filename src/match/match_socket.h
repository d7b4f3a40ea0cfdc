#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

class QTcpServer;
class QTcpSocket;
class QTimer;

// The match connection `data`: a listening end for the host, a connecting end for the
// joiner, one peer at a time. Events come through the event loop, never by blocking: a
// connection request, the connection made, a data arrival, the peer's close, and a failure
// with a message in the program's own language.
class MatchSocket : public QObject
{
    Q_OBJECT
public:
    explicit MatchSocket(QObject *parent = nullptr);
    ~MatchSocket() override;

    // Host: listen on every local address. On failure returns false and errorText() says
    // which port and why.
    bool listen(quint16 port);
    // Host, on a connection request: take the waiting peer and stop listening for good,
    // so no second joiner can ever arrive. False, still listening, when the peer has
    // already gone again.
    bool accept();
    // Host: listen on a second port as well (the high local port that a home router maps
    // when it refuses the match port itself); the first joiner on either is the one.
    bool listenAlso(quint16 port);

    // Joiner: start connecting; the outcome arrives as connected() or failed().
    void connectToHost(const QString &address, quint16 port);
    void setConnectTimeout(int milliseconds);

    // Drops the peer without reporting peerClosed(); also stops a pending connect.
    void close();

    // One message in one send. Returns false, and drops the message, without a peer.
    bool send(const QString &message);
    // Hands what send() queued to the network now instead of when the event loop comes
    // round again (after the sender's own repaint).
    void flush();
    // Everything that has arrived so far, as one message.
    QString receive();

    bool isConnected() const;
    bool isListening() const;
    QString errorText() const { return m_errorText; }

signals:
    void connectionRequest();
    void connected();
    void dataArrival();
    void peerClosed();
    // Every message handed to the peer and every one taken in, for observers.
    void sent(const QString &message);
    void received(const QString &message);
    void failed(const QString &message);

private:
    void adopt(QTcpSocket *socket);
    void dropPeer();
    void onError();
    void fail(const QString &message);
    QTcpSocket *nextPending();
    void stopListening();

    QTcpServer *m_server = nullptr;
    QTcpServer *m_also = nullptr;
    QPointer<QTcpSocket> m_peer;
    QTimer *m_connectTimer = nullptr;
    QString m_remote;
    QString m_errorText;
    int m_attempt = 0;
};
