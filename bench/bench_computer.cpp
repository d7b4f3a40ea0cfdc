// The computer's move choice: the time one choice takes at each level over every position
// a game can reach (the computer to move, either mark, either side opening), the time to
// fill the perfect level's table on its first use, and what that table adds to memory.

#include "bench_common.h"

#include "ai/move_chooser.h"
#include "ai/perfect_play.h"

#include <QCoreApplication>
#include <QSet>

#include <cstdio>

namespace {

// Every position reachable from the empty board before a game is decided, seen from the
// side to move.
void collect(const Position &position, QSet<quint32> &seen, std::vector<Position> &out)
{
    const quint32 key = quint32(position.mine) | quint32(position.theirs) << 9;
    if (seen.contains(key) || !position.free())
        return;
    seen.insert(key);
    out.push_back(position);
    for (int cell = 0; cell < 9; ++cell) {
        if (!position.isFree(cell) || Position::scoreOf(position.mine, cell))
            continue;
        collect(Position{position.theirs, quint16(position.mine | (1u << cell)), 0}, seen, out);
    }
}

void timeLevel(ComputerLevel level, const std::vector<Position> &positions, int rounds)
{
    MoveChooser chooser(level, 42);
    std::vector<double> ns;
    ns.reserve(positions.size() * size_t(rounds));
    volatile int sink = 0;
    for (int round = 0; round < rounds; ++round) {
        for (const Position &position : positions) {
            const qint64 start = Bench::monotonicNs();
            sink = sink + chooser.choose(position);
            ns.push_back(double(Bench::monotonicNs() - start));
        }
    }
    std::printf("move choice %-8s p50 %.0f p99 %.0f max %.0f ns (%zu choices)\n",
                qPrintable(ComputerLevels::name(level)), Bench::percentile(ns, 50),
                Bench::percentile(ns, 99), *std::max_element(ns.begin(), ns.end()), ns.size());
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int rounds = argc > 1 ? std::max(1, QByteArray(argv[1]).toInt()) : 50;

    const double rssBefore = Bench::procStatusMb("VmRSS");
    const qint64 start = Bench::monotonicNs();
    PerfectPlay::prepare();
    const double buildUs = double(Bench::monotonicNs() - start) / 1000.0;
    const double rssAfter = Bench::procStatusMb("VmRSS");
    std::printf("perfect table filled on first use: %.0f us\n", buildUs);
    std::printf("memory the table added (VmRSS): %.2f MB\n", rssAfter - rssBefore);

    QSet<quint32> seen;
    std::vector<Position> positions;
    collect(Position{}, seen, positions);
    std::printf("positions: %zu\n", positions.size());
    for (ComputerLevel level : {ComputerLevel::Sempurna, ComputerLevel::Sedang, ComputerLevel::Mudah})
        timeLevel(level, positions, rounds);
    return 0;
}
