#pragma once

#include <QObject>
#include <QStringList>

class QTcpSocket;

// The lobby's probe sender `PingSy`: one pass per address, each connecting to the probe
// port, sending "Ping" once connected and closing. Nothing waits on a pass and every
// failure (no such address, refused, no answer in time) just ends it.
//
// Only literal IP addresses are probed: registry entries are addresses, and a name that is
// none (a typed "[Nomor IP]", the empty pass past the last entry) fails at once instead of
// going out as a name lookup. At most MaxInFlight passes are open at a time, and a few are
// begun per turn of the event loop, so a long list never holds up the screen.
class ProbeSender : public QObject
{
    Q_OBJECT

public:
    static constexpr int MaxInFlight = 32;
    static constexpr int StartsPerTurn = 16;
    static constexpr int PassTimeoutMs = 3000;

    explicit ProbeSender(QObject *parent = nullptr);

    // Queues one pass per address, in order. Passes of an earlier call that have not begun
    // yet are dropped: the lobby's newer list holds all of the older one.
    void probe(const QStringList &addresses, quint16 port);
    // Passes queued or under way.
    int pending() const;
    // Passes begun so far, and those of them that got as far as sending "Ping".
    int passesBegun() const { return m_begun; }
    int pingsSent() const { return m_sent; }

signals:
    void finished();  // no pass queued or under way any more

private:
    void scheduleStarts();
    void startPasses();
    void endPass(QTcpSocket *socket);

    QStringList m_queue;
    qsizetype m_next = 0;
    quint16 m_port = 0;
    int m_inFlight = 0;
    int m_begun = 0;
    int m_sent = 0;
    bool m_startsPosted = false;
};
