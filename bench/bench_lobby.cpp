// The lobby with a large registry: how long after the listing has arrived the host list is
// filled, and how long the UI thread is held up at most meanwhile and while every entry is
// probed. Prints figures; never fails on time.
//
// Runs scripts/registry.py (Debian's python3 with pyftpdlib) on 127.0.0.1; every entry is a
// 127.0.x.y address, so all probes stay on this machine.

#include "bench_common.h"

#include "lobby/host_registry.h"
#include "lobby/lobby_screen.h"
#include "lobby/probe_sender.h"
#include "platform/ftp_transfer.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <cstdio>

namespace {

int fail(const char *what)
{
    std::fprintf(stderr, "bench_lobby: %s\n", what);
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const int entries = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 10000;

    QTemporaryDir driveC;
    QTemporaryDir root;
    if (!driveC.isValid() || !root.isValid())
        return fail("no temporary folder");
    for (int i = 0; i < entries; ++i) {
        QFile entry(root.filePath(QStringLiteral("127.0.%1.%2").arg(i / 250).arg(i % 250 + 1)));
        if (!entry.open(QIODevice::WriteOnly))
            return fail("cannot create the registry entries");
    }

    QProcess registry;
    const QByteArray ftpUrl = Bench::startRegistry(registry, root.path());
    if (ftpUrl.isEmpty())
        return fail("the registry did not start (scripts/registry.py; DORVALA_REGISTRY_SCRIPT)");

    qputenv("DORVALA_DRIVE_C", driveC.path().toLocal8Bit());
    qputenv("DORVALA_LOCAL_IP", "127.0.0.1");
    qputenv("DORVALA_PROBE_PORT", QByteArray::number(Bench::freePort()));
    qputenv("DORVALA_FTP_URL", ftpUrl);

    QElapsedTimer clock;
    clock.start();
    qint64 lastTick = 0;
    qint64 longestGap = 0;
    QTimer ticker;
    ticker.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticker, &QTimer::timeout, &ticker, [&] {
        const qint64 now = clock.nsecsElapsed();
        longestGap = qMax(longestGap, now - lastTick);
        lastTick = now;
    });

    LobbyScreen wol;
    FtpTransfer *inet1 = wol.registry()->Inet1();
    auto *pingSy = wol.findChild<ProbeSender *>(QStringLiteral("PingSy"));
    qint64 listed = -1;
    qint64 filled = -1;
    qint64 gapWhileFilling = 0;
    // The ticker sees the finished listing first, between two chunks of the drain.
    QObject::connect(&ticker, &QTimer::timeout, &ticker, [&] {
        if (listed < 0 && inet1->state() == FtpTransfer::ResponseCompleted) {
            listed = clock.nsecsElapsed();
            longestGap = 0;
        }
    });
    QObject::connect(&wol, &LobbyScreen::hostListChanged, &wol, [&](const QStringList &hosts) {
        if (filled >= 0 || hosts.size() < entries)
            return;
        filled = clock.nsecsElapsed();
        if (listed < 0)
            listed = filled;
        // The parse and the list itself ran since the last tick.
        gapWhileFilling = qMax(longestGap, filled - lastTick);
        longestGap = 0;
        lastTick = filled;
    });
    const qint64 started = clock.nsecsElapsed();
    lastTick = started;
    ticker.start(1);

    QElapsedTimer limit;
    limit.start();
    while (filled < 0 && limit.elapsed() < 120000)
        app.processEvents(QEventLoop::WaitForMoreEvents, 100);
    if (filled < 0)
        return fail("the host list was not filled");
    while (pingSy->pending() > 0 && limit.elapsed() < 300000)
        app.processEvents(QEventLoop::WaitForMoreEvents, 100);
    const qint64 probed = clock.nsecsElapsed();
    const qint64 gapWhileProbing = longestGap;

    QTextStream out(stdout);
    const auto ms = [](qint64 ns) { return QString::number(double(ns) / 1e6, 'f', 1); };
    out << "registry entries: " << wol.listedHosts().size() << '\n'
        << "listing, from the request to the full response: " << ms(listed - started)
        << " ms\n"
        << "host list filled after the response: " << ms(filled - listed) << " ms\n"
        << "longest UI stall meanwhile: " << ms(gapWhileFilling) << " ms\n"
        << "probe passes begun: " << pingSy->passesBegun() << " in " << ms(probed - filled)
        << " ms\n"
        << "longest UI stall while probing: " << ms(gapWhileProbing) << " ms\n";
    out.flush();

    registry.terminate();
    registry.waitForFinished(5000);
    return 0;
}
