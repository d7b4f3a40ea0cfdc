// A host and a joiner screen in one process, connected over loopback on a free port.
// Figures only: how long the opening exchange takes, how long a move takes to reach the
// other screen, and the CPU an idle open match uses (both screens together).
//
//   bench_match [idle seconds, default 10]   print the figures
//   bench_match --show game                   both screens mid-game with chat bubbles
//   bench_match --show left                   the host after the joiner has left
// The --show modes print READY once the scene stands and keep it up for 20 seconds.
#include "bench_common.h"

#include "model/match_model.h"
#include "match/chat_history.h"
#include "match/host_screen.h"
#include "match/join_screen.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

using Bench::cpuSeconds;
using Bench::idle;
using Bench::waitFor;

QString text(const QWidget *screen, const char *name)
{
    auto *label = screen->findChild<QLabel *>(QLatin1String(name));
    return label ? label->text() : QString();
}

void say(MatchScreen *screen, const QString &line)
{
    screen->findChild<QLineEdit *>(QStringLiteral("Text1"))->setText(line);
    screen->findChild<QPushButton *>(QStringLiteral("Command1"))->click();
}

struct Match
{
    QTemporaryDir drive;
    ChatHistory history;
    std::unique_ptr<HostScreen> host;
    std::unique_ptr<JoinScreen> join;

    bool open(QElapsedTimer *clock)
    {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        const quint16 port = probe.serverPort();
        probe.close();
        qputenv("DORVALA_DRIVE_C", drive.path().toLocal8Bit());
        qputenv("DORVALA_MATCH_PORT", QByteArray::number(port));
        qputenv("DORVALA_LOCAL_IP", "127.0.0.1");

        host = std::make_unique<HostScreen>();
        host->setChatHistory(&history);
        host->Form_Load();
        host->setOwnName(QStringLiteral("Ani"));
        host->move(0, 0);
        host->show();
        clock->start();
        join = std::make_unique<JoinScreen>(QStringLiteral("127.0.0.1"));
        join->setChatHistory(&history);
        join->Form_Load();
        join->setOwnName(QStringLiteral("Bob"));
        join->move(650, 0);
        join->show();
        return waitFor([&] { return text(host.get(), "Xname") == QLatin1String("Bob"); });
    }
};

int figures(int idleSeconds)
{
    Match match;
    QElapsedTimer clock;
    if (!match.open(&clock)) {
        std::printf("the screens did not connect\n");
        return 1;
    }
    std::printf("%-44s %8lld ms\n", "opening exchange (the joiner's name at the host)",
                static_cast<long long>(clock.elapsed()));

    std::vector<qint64> trips;
    MatchModel *hostPlay = match.host->model();
    MatchModel *joinPlay = match.join->model();
    for (int round = 0; round < 50; ++round) {
        const int cell = round % 9;
        clock.start();
        hostPlay->click(cell);
        waitFor([&] { return !joinPlay->board().state(cell).isEmpty(); });
        trips.push_back(clock.nsecsElapsed() / 1000);
        // Hand the turn back and clear, as a restart would, without the totals moving.
        match.join->model()->LockBoard();
        hostPlay->UnlockBoard();
        hostPlay->board().clear();
        joinPlay->board().clear();
    }
    std::nth_element(trips.begin(), trips.begin() + 25, trips.end());
    std::printf("%-44s %8lld us\n", "a move from click to the other board (median)",
                static_cast<long long>(trips[25]));

    // Let everything settle, then measure a quiet match.
    idle(500);
    const double before = cpuSeconds();
    clock.start();
    idle(idleSeconds * 1000);
    const double used = cpuSeconds() - before;
    const double wall = clock.elapsed() / 1000.0;
    std::printf("%-44s %8.3f %% of a core (%.2f s CPU in %.1f s)\n",
                "idle open match, host and joiner together", 100.0 * used / wall, used, wall);
    return 0;
}

int show(const QString &what)
{
    Match match;
    QElapsedTimer clock;
    if (!match.open(&clock))
        return 1;
    HostScreen *host = match.host.get();
    JoinScreen *join = match.join.get();
    const int moves[] = {4, 0, 6, 2};  // host B2, joiner A1, host C1, joiner A3
    for (int i = 0; i < 4; ++i) {
        MatchScreen *mover = i % 2 ? static_cast<MatchScreen *>(join) : host;
        MatchScreen *other = i % 2 ? static_cast<MatchScreen *>(host) : join;
        mover->model()->click(moves[i]);
        waitFor([&] { return !other->model()->board().state(moves[i]).isEmpty(); });
    }
    if (what == QLatin1String("left")) {
        match.join.reset();
        waitFor([&] { return text(host, "infox") == QLatin1String("Koneksi Terputus"); });
    } else {
        say(join, QStringLiteral("Halo Ani, siap kalah?"));
        idle(300);
        say(host, QStringLiteral("Lihat saja nanti!"));
        // Once both typewriters are done, keep the bubbles up for the picture.
        const auto timer = [](MatchScreen *screen, const char *name) {
            return screen->findChild<QTimer *>(QLatin1String(name));
        };
        waitFor([&] {
            for (MatchScreen *screen : {static_cast<MatchScreen *>(host), static_cast<MatchScreen *>(join)}) {
                if (timer(screen, "Timer1")->isActive() || timer(screen, "Timer2")->isActive())
                    return false;
            }
            return true;
        });
        for (MatchScreen *screen : {static_cast<MatchScreen *>(host), static_cast<MatchScreen *>(join)}) {
            timer(screen, "Timer3")->stop();
            timer(screen, "Timer4")->stop();
        }
    }
    std::printf("READY\n");
    std::fflush(stdout);
    QTimer::singleShot(20000, qApp, &QCoreApplication::quit);
    return QApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const QStringList args = QApplication::arguments().mid(1);
    if (args.size() >= 2 && args[0] == QLatin1String("--show"))
        return show(args[1]);
    return figures(args.isEmpty() ? 10 : std::max(1, args[0].toInt()));
}
