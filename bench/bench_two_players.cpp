// Two real programs, a host and a joiner started from the command line as players start
// them (with a registry on loopback), driven through their control channels. Figures only:
//
//   - peak memory (VmHWM) of each after connecting, one game and a chat line each way;
//   - CPU share of each over an idle stretch while connected (utime+stime from /proc, and
//     the scheduler's nanosecond run time for the same stretch);
//   - move latency: from the mover's `sent` event to the peer's `drawn` event for that
//     point, both stamped by CLOCK_MONOTONIC in their own process; p50, p99, max;
//   - peak memory again after all the moves.
//
//   bench_two_players [moves, default 1000] [idle seconds, default 10] [pause ms, default 20]
//                     [quiet ms after each send, default 10]
//   BENCH_DORVALA=/path/to/dorvala bench_two_players ...     another build of the program
//
// Games are played out to a full board without a line (none is detected as a draw), then
// the host's "Restart" clears them; the turn carries over, so host and joiner take turns
// opening. The pause between moves keeps each one meeting a quiet program, as at a human
// pace. With DISPLAY set the programs use the X server (run it under xvfb-run), otherwise
// the offscreen platform.
#include "bench_common.h"

#include "control/control_client.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QSet>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>
#include <memory>
#include <vector>

#include <unistd.h>

namespace {

// A game that fills the board without a line of three and without the plus, as points in
// the order played; the opener plays the even positions.
const QStringList kDrawnGame{"A1", "B2", "C3", "B1", "B3", "A3", "C1", "C2", "A2"};

struct Player
{
    std::unique_ptr<ControlClient> client;
    qint64 pid = 0;
    QString mark;  // "O" or "X"
};

// The program to measure: the one beside this bench, or BENCH_DORVALA (another build of it,
// to compare a change).
QString program()
{
    const QString forced = qEnvironmentVariable("BENCH_DORVALA");
    return forced.isEmpty() ? QCoreApplication::applicationDirPath() + QStringLiteral("/dorvala") : forced;
}

// This process's children running that program.
QSet<qint64> programChildren()
{
    QSet<qint64> found;
    const qint64 self = QCoreApplication::applicationPid();
    for (const QString &entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        bool number = false;
        const qint64 pid = entry.toLongLong(&number);
        if (!number)
            continue;
        QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        const QByteArray line = stat.readAll();
        const QByteArray name = line.mid(line.indexOf('(') + 1, line.lastIndexOf(')') - line.indexOf('(') - 1);
        const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
        if (QFileInfo(program()).fileName().startsWith(QString::fromLocal8Bit(name))
            && fields.value(1).toLongLong() == self)
            found.insert(pid);
    }
    return found;
}

// Context switches of every thread of a process: roughly its wake-ups.
qint64 switches(qint64 pid)
{
    qint64 total = 0;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid));
    for (const QString &task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(tasks.filePath(task + QStringLiteral("/status")));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray &line : file.readAll().split('\n')) {
            if (line.contains("ctxt_switches:"))
                total += line.mid(line.indexOf(':') + 1).trimmed().toLongLong();
        }
    }
    return total;
}

class Bout
{
public:
    bool start(const QByteArray &ftpUrl, const QByteArray &platform)
    {
        m_environment = QProcessEnvironment::systemEnvironment();
        m_environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QString::fromLatin1(platform));
        m_environment.insert(QStringLiteral("DORVALA_LOCAL_IP"), QStringLiteral("127.0.0.1"));
        m_environment.insert(QStringLiteral("DORVALA_MATCH_PORT"), QString::number(Bench::freePort()));
        m_environment.insert(QStringLiteral("DORVALA_PROBE_PORT"), QString::number(Bench::freePort()));
        m_environment.insert(QStringLiteral("DORVALA_FTP_URL"), QString::fromLatin1(ftpUrl));

        if (!launch(m_host, QStringLiteral("host"), {"--host", "--name", "Ani"}, m_hostDrive)
            || !launch(m_join, QStringLiteral("Join"), {"--join", "127.0.0.1", "--name", "Budi"}, m_joinDrive))
            return false;
        m_host.mark = QStringLiteral("O");
        m_join.mark = QStringLiteral("X");
        return wait(m_host, "received", QStringLiteral("XBudi"), 0)
               && wait(m_join, "received", QStringLiteral("OAni"), 0)
               && wait(m_join, "received", QStringLiteral("$0"), 0);
    }

    Player &host() { return m_host; }
    bool hostToMove() const { return m_hostToMove; }
    Player &join() { return m_join; }

    struct Latency
    {
        double sentToDrawn = 0;     // the figure: the mover's send to the peer's point painted
        double sentToReceived = 0;  // of which on the way
        double issuedToDrawn = 0;   // from the command written to the mover's input
    };

    // One move by whoever's turn it is, with its latencies in microseconds; false on a
    // time-out. Once the mover has sent, this process sleeps for `quietMs` instead of reading
    // the events as they come: the times are taken inside the two programs, and this way
    // the bench does not compete with them for the processors while the move travels.
    bool move(const QString &cell, Latency *latency, int quietMs = 0)
    {
        Player &mover = m_hostToMove ? m_host : m_join;
        Player &peer = m_hostToMove ? m_join : m_host;
        const int moverFrom = mover.client->mark();
        const int peerFrom = peer.client->mark();
        const qint64 issued = Bench::monotonicNs();
        mover.client->command(QStringLiteral("click ") + cell);
        const QString drawn = cell + u' ' + mover.mark;
        if (!wait(mover, "sent", cell, moverFrom))
            return false;
        if (quietMs > 0)
            QThread::msleep(quietMs);
        if (!wait(peer, "drawn", drawn, peerFrom))
            return false;
        const qint64 sent = at(mover, "sent", cell, moverFrom);
        const qint64 received = at(peer, "received", cell, peerFrom);
        const qint64 shown = at(peer, "drawn", drawn, peerFrom);
        latency->sentToDrawn = double(shown - sent) / 1e3;
        latency->sentToReceived = double(received - sent) / 1e3;
        latency->issuedToDrawn = double(shown - issued) / 1e3;
        m_hostToMove = !m_hostToMove;
        return true;
    }

    // The host's "Restart", waited out until both totals have crossed, so that no move
    // shares a read with a total.
    bool restart()
    {
        const int hostFrom = m_host.client->mark();
        const int joinFrom = m_join.client->mark();
        m_host.client->command(QStringLiteral("restart"));
        return wait(m_join, "received", QStringLiteral("X"), joinFrom)
               && wait(m_host, "received", QString(), hostFrom)
               && wait(m_join, "sent", QString(), joinFrom)
               && waitKind(m_host, "sent", u'$', hostFrom)
               && waitKind(m_join, "received", u'$', joinFrom);
    }

    bool chat(Player &from, const QString &text)
    {
        Player &to = &from == &m_host ? m_join : m_host;
        const int toFrom = to.client->mark();
        from.client->command(QStringLiteral("chat ") + text);
        return wait(to, "received", QStringLiteral("msg: ") + text, toFrom);
    }

    bool quit()
    {
        for (Player *player : {&m_host, &m_join})
            player->client->command(QStringLiteral("quit"));
        return Bench::waitFor([&] { return m_host.client->hasFinished() && m_join.client->hasFinished(); }, 30000);
    }

    QString why() const { return m_why; }

private:
    bool launch(Player &player, const QString &screen, const QStringList &arguments,
                const QTemporaryDir &drive)
    {
        QProcessEnvironment environment = m_environment;
        environment.insert(QStringLiteral("DORVALA_DRIVE_C"), drive.path());
        const QSet<qint64> before = programChildren();
        player.client = std::make_unique<ControlClient>(screen);
        player.client->start(program(), QStringList{QStringLiteral("--control")} + arguments, environment);
        if (!wait(player, "screen", screen, 0))
            return false;
        const QSet<qint64> now = programChildren() - before;
        player.pid = now.isEmpty() ? 0 : *now.begin();
        return player.pid != 0;
    }

    bool wait(Player &player, const char *kind, const QString &payload, int from)
    {
        const QString what = QString::fromLatin1(kind);
        if (Bench::waitFor([&] { return player.client->seen(what, payload, from); }, 30000))
            return true;
        m_why = player.client->label() + QStringLiteral(" never showed \"") + what + u' ' + payload
                + QStringLiteral("\"; stderr: ") + player.client->errorTail().right(800);
        return false;
    }

    bool waitKind(Player &player, const char *kind, QChar first, int from)
    {
        const QString what = QString::fromLatin1(kind);
        const auto seen = [&] {
            for (const QString &payload : player.client->payloads(what, from)) {
                if (payload.startsWith(first))
                    return true;
            }
            return false;
        };
        if (Bench::waitFor(seen, 30000))
            return true;
        m_why = player.client->label() + QStringLiteral(" never showed ") + what + u' ' + first;
        return false;
    }

    static qint64 at(const Player &player, const char *kind, const QString &payload, int from)
    {
        const int index = player.client->find(QString::fromLatin1(kind), payload, from);
        return index < 0 ? 0 : player.client->events().at(index).t;
    }

    QProcessEnvironment m_environment;
    QTemporaryDir m_hostDrive;
    QTemporaryDir m_joinDrive;
    Player m_host;
    Player m_join;
    bool m_hostToMove = true;
    QString m_why;
};

void memoryLine(const char *when, const Player &player, const char *who)
{
    std::printf("peak memory %-16s %-6s VmHWM %6.1f MB   (VmRSS now %.1f MB)\n", when, who,
                Bench::procStatusMb("VmHWM", player.pid), Bench::procStatusMb("VmRSS", player.pid));
}

int fail(const QString &why)
{
    std::fprintf(stderr, "bench_two_players: %s\n", qPrintable(why));
    return 1;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int moves = args.size() > 1 ? std::max(1, args[1].toInt()) : 1000;
    const int idleSeconds = args.size() > 2 ? std::max(1, args[2].toInt()) : 10;
    const int pauseMs = args.size() > 3 ? std::max(0, args[3].toInt()) : 20;
    const int quietMs = args.size() > 4 ? std::max(0, args[4].toInt()) : 10;
    const QByteArray platform = qEnvironmentVariableIsSet("DISPLAY") ? "xcb" : "offscreen";
    std::printf("platform of the two programs: %s\n", platform.constData());

    QTemporaryDir root;
    QProcess registry;
    const QByteArray ftpUrl = Bench::startRegistry(registry, root.path());
    if (ftpUrl.isEmpty())
        return fail(QStringLiteral("the registry did not start"));

    Bout bout;
    const qint64 started = Bench::monotonicNs();
    if (!bout.start(ftpUrl, platform))
        return fail(bout.why());
    std::printf("both started and names exchanged: %.0f ms\n", double(Bench::monotonicNs() - started) / 1e6);

    // Mid-match: one game played out, a chat line each way, a restart.
    Bout::Latency ignored;
    for (const QString &cell : kDrawnGame) {
        if (!bout.move(cell, &ignored))
            return fail(bout.why());
    }
    if (!bout.chat(bout.join(), QStringLiteral("Halo Ani")) || !bout.chat(bout.host(), QStringLiteral("Halo Budi"))
        || !bout.restart())
        return fail(bout.why());
    memoryLine("mid-match", bout.host(), "host");
    memoryLine("mid-match", bout.join(), "joiner");
    std::fflush(stdout);

    // The speech bubbles go 2 s after their typewriters end; let that pass first.
    Bench::idle(4000);
    const Player *players[] = {&bout.host(), &bout.join()};
    double ticks[2], scheduled[2];
    qint64 wakeups[2];
    for (int i = 0; i < 2; ++i) {
        ticks[i] = Bench::cpuSeconds(players[i]->pid);
        scheduled[i] = Bench::scheduledSeconds(players[i]->pid);
        wakeups[i] = switches(players[i]->pid);
    }
    const qint64 idleFrom = Bench::monotonicNs();
    Bench::idle(idleSeconds * 1000);
    const double wall = double(Bench::monotonicNs() - idleFrom) / 1e9;
    for (int i = 0; i < 2; ++i) {
        const double tickShare = 100.0 * (Bench::cpuSeconds(players[i]->pid) - ticks[i]) / wall;
        const double schedShare = 100.0 * (Bench::scheduledSeconds(players[i]->pid) - scheduled[i]) / wall;
        const double perSecond = double(switches(players[i]->pid) - wakeups[i]) / wall;
        std::printf("idle CPU over %.0f s, %-6s %7.3f %% of one core (utime+stime)   %7.3f %% (scheduler), %.0f wake-ups/s\n",
                    wall, i == 0 ? "host" : "joiner", tickShare, schedShare, perSecond);
    }
    std::fflush(stdout);

    std::vector<double> sentToDrawn, onTheWay, receivedToDrawn, issuedToDrawn, hostToJoin, joinToHost;
    for (int done = 0; done < moves;) {
        for (const QString &cell : kDrawnGame) {
            Bout::Latency latency;
            if (done == moves)
                break;
            Bench::idle(pauseMs);
            const bool byHost = bout.hostToMove();
            if (!bout.move(cell, &latency, quietMs))
                return fail(bout.why());
            sentToDrawn.push_back(latency.sentToDrawn);
            onTheWay.push_back(latency.sentToReceived);
            receivedToDrawn.push_back(latency.sentToDrawn - latency.sentToReceived);
            issuedToDrawn.push_back(latency.issuedToDrawn);
            (byHost ? hostToJoin : joinToHost).push_back(latency.sentToDrawn);
            ++done;
        }
        if (!bout.restart())
            return fail(bout.why());
    }
    const auto latencyLine = [](const char *what, const std::vector<double> &values) {
        std::printf("move latency, %-30s p50 %7.0f us   p99 %7.0f us   max %7.0f us   (%zu moves)\n",
                    what, Bench::percentile(values, 50), Bench::percentile(values, 99),
                    Bench::percentile(values, 100), values.size());
    };
    latencyLine("sent to the peer's drawn", sentToDrawn);
    latencyLine("  host to joiner", hostToJoin);
    latencyLine("  joiner to host", joinToHost);
    latencyLine("  sent to the peer's received", onTheWay);
    latencyLine("  received to drawn", receivedToDrawn);
    latencyLine("command issued to drawn", issuedToDrawn);
    memoryLine("after the moves", bout.host(), "host");
    memoryLine("after the moves", bout.join(), "joiner");
    std::fflush(stdout);

    const bool ended = bout.quit();
    registry.terminate();
    registry.waitForFinished(5000);
    return ended ? 0 : fail(QStringLiteral("the programs did not end on quit"));
}
