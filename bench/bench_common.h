#pragma once

// Small helpers shared by the benchmark programs: clocks, percentiles, what /proc says about
// a process, free loopback ports, the test registry server, and waiting in the event loop.

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QHostAddress>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTcpServer>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include <time.h>
#include <unistd.h>

namespace Bench {

// CLOCK_MONOTONIC in nanoseconds: the clock the program's control channel stamps its
// events with, so times from several processes on this machine compare directly.
inline qint64 monotonicNs()
{
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return qint64(ts.tv_sec) * 1'000'000'000 + ts.tv_nsec;
}

// Nearest-rank percentile (p in 0..100); NaN for no values.
inline double percentile(std::vector<double> values, double p)
{
    if (values.empty())
        return std::nan("");
    std::sort(values.begin(), values.end());
    const auto rank = size_t(std::ceil(p / 100.0 * double(values.size())));
    return values[std::clamp<size_t>(rank, 1, values.size()) - 1];
}

// User plus system CPU time of a process (0 = this one), in seconds.
inline double cpuSeconds(qint64 pid = 0)
{
    QFile file(pid ? QStringLiteral("/proc/%1/stat").arg(pid) : QStringLiteral("/proc/self/stat"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray stat = file.readAll();
    // Fields after the command name, which is in parentheses and may hold spaces.
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    return double(fields.value(11).toLongLong() + fields.value(12).toLongLong())
           / double(sysconf(_SC_CLK_TCK));
}

// On-CPU time of every thread of a process, in seconds, as the scheduler counts it
// (nanosecond resolution, unlike the clock ticks of /proc/<pid>/stat).
inline double scheduledSeconds(qint64 pid)
{
    double total = 0;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid));
    for (const QString &task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(tasks.filePath(task + QStringLiteral("/schedstat")));
        if (file.open(QIODevice::ReadOnly))
            total += file.readAll().split(' ').value(0).toDouble() / 1e9;
    }
    return total;
}

// A "Key:" line of /proc/<pid>/status (0 = this process) without the key, e.g. "41236 kB".
inline QByteArray procStatus(const char *key, qint64 pid = 0)
{
    QFile file(pid ? QStringLiteral("/proc/%1/status").arg(pid) : QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return "?";
    const QByteArray wanted = QByteArray(key) + ':';
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith(wanted))
            return line.mid(wanted.size()).trimmed();
    }
    return "?";
}

// The same in MB (1024 kB), or -1 when it cannot be read.
inline double procStatusMb(const char *key, qint64 pid = 0)
{
    bool ok = false;
    const double kb = procStatus(key, pid).split(' ').value(0).toDouble(&ok);
    return ok ? kb / 1024.0 : -1;
}

inline quint16 freePort()
{
    QTcpServer probe;
    return probe.listen(QHostAddress::LocalHost, 0) ? probe.serverPort() : 0;
}

// Runs the event loop until `done` holds (looked at after every event and every 5 ms) or
// `timeoutMs` pass.
inline bool waitFor(const std::function<bool()> &done, int timeoutMs = 15000)
{
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() >= timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    }
    return true;
}

// The event loop with nothing of our own running.
inline void idle(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

// A file of the source tree, found upwards from this program's folder (the build folder
// usually sits inside the source tree).
inline QString sourceFile(const QString &relative)
{
    QDir dir(QCoreApplication::applicationDirPath());
    do {
        const QString candidate = dir.filePath(relative);
        if (QFileInfo::exists(candidate))
            return candidate;
    } while (dir.cdUp());
    return {};
}

inline QString registryScript()
{
    const QString forced = qEnvironmentVariable("DORVALA_REGISTRY_SCRIPT");
    return forced.isEmpty() ? sourceFile(QStringLiteral("scripts/registry.py")) : forced;
}

// Starts scripts/registry.py on 127.0.0.1 with a free port over `root`; the FTP URL for
// DORVALA_FTP_URL, or empty when it did not start.
inline QByteArray startRegistry(QProcess &registry, const QString &root)
{
    const QString script = registryScript();
    if (script.isEmpty())
        return {};
    const QString python = QFileInfo::exists(QStringLiteral("/usr/bin/python3"))
                               ? QStringLiteral("/usr/bin/python3")
                               : QStringLiteral("python3");
    registry.start(python, {script, QStringLiteral("--host"), QStringLiteral("127.0.0.1"),
                            QStringLiteral("--port"), QStringLiteral("0"),
                            QStringLiteral("--root"), root, QStringLiteral("--exit-with-parent")});
    if (!registry.waitForReadyRead(20000))
        return {};
    const QByteArray ready = registry.readLine().trimmed();
    if (!ready.startsWith("READY "))
        return {};
    return "ftp://dorvala@127.0.0.1:" + ready.mid(6) + '/';
}

} // namespace Bench
