#pragma once

#include <QObject>
#include <QStringList>

class QTcpSocket;

// The lobby's probe sender `PingSy`. Each pass, on one socket: close; request a connection
// to the address on the probe port; attempt the send of "Ping"; close. The steps follow each
// other at once, without waiting for the connection: a socket that is still connecting sends
// nothing, and the close abandons the handshake (as a reset, should the peer's side have
// completed it already). So a pass never delivers a byte, and no responder, this machine's
// own included, is taken out of service by being probed.
//
// Only literal IP addresses (strictly dotted, see HostAddress) are probed: registry entries
// are addresses, and a name that is none (a typed "[Nomor IP]", the empty pass past the last entry) fails at once instead of
// going out as a name lookup. Passes run in short bursts, one per turn of the event loop, so
// a long list never holds up the screen.
class ProbeSender : public QObject
{
    Q_OBJECT

public:
    // How long one burst of passes may hold the event loop.
    static constexpr int BurstMs = 2;

    explicit ProbeSender(QObject *parent = nullptr);

    // Queues one pass per address, in order, to `port`, or to the probe port that a registry
    // name "a.b.c.d_M_P" carries. Passes of an earlier call that have not run
    // yet are dropped: the lobby's newer list holds all of the older one.
    void probe(const QStringList &addresses, quint16 port);
    // Passes still to run.
    int pending() const;
    // Passes run so far.
    int passesBegun() const { return m_begun; }

signals:
    void finished();  // no pass queued any more

private:
    void scheduleBurst();
    void runBurst();
    void pass(const QString &address);

    QTcpSocket *m_socket;
    QStringList m_queue;
    qsizetype m_next = 0;
    quint16 m_port = 0;
    int m_begun = 0;
    bool m_burstPosted = false;
};
