// Idle cost of one match screen's seven sound cues: opened, sounded once each, then left
// alone as during a quiet match. Prints the time to set up and sound them, the CPU used
// while idle, and the memory before and after. Run it with and without a sound server.
//
//   bench_sound_cues [idle seconds, default 10] [program folder, default this program's]

#include "bench_common.h"

#include "match/match_cues.h"
#include "platform/settings.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMediaDevices>
#include <QAudioDevice>
#include <QTimer>

#include <cstdio>

using Bench::cpuSeconds;


int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int idleSeconds = args.size() > 1 ? args.at(1).toInt() : 10;
    const QString folder = args.size() > 2 ? args.at(2) : Settings::programFolder();

    std::printf("audio output: %s\n",
                QMediaDevices::defaultAudioOutput().isNull() ? "none" : "present");
    std::printf("before cues: VmRSS %s, VmHWM %s\n", Bench::procStatus("VmRSS").constData(),
                Bench::procStatus("VmHWM").constData());

    QElapsedTimer timer;
    timer.start();
    MatchCues cues;
    cues.load(folder);
    std::printf("set-up of 7 cues: %.2f ms\n", timer.nsecsElapsed() / 1e6);

    double idleStart = 0;
    QTimer::singleShot(500, &app, [&] {
        QElapsedTimer playTimer;
        playTimer.start();
        for (const QString &name : MatchCues::names())
            cues.sound(name);
        std::printf("sounding all 7 cues: %.2f ms\n", playTimer.nsecsElapsed() / 1e6);
    });
    // Idle measurement starts once the longest cue has surely ended.
    QTimer::singleShot(3500, &app, [&] { idleStart = cpuSeconds(); });
    QTimer::singleShot(3500 + idleSeconds * 1000, &app, [&] {
        const double used = cpuSeconds() - idleStart;
        std::printf("idle CPU over %d s: %.2f s = %.3f %% of one core\n", idleSeconds, used,
                    used / idleSeconds * 100);
        std::printf("after: VmRSS %s, VmHWM %s\n", Bench::procStatus("VmRSS").constData(),
                    Bench::procStatus("VmHWM").constData());
        app.quit();
    });
    return app.exec();
}
