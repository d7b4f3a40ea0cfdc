// Cost of one win-detection tick and of redrawing the board's nine points.
// Figures only: median nanoseconds of many runs.
//
//   bench_board                 print the figures
//   bench_board --show five     a board showing the five point states, for a screenshot
//   bench_board --show win      a board just after a plus, scored pieces and the panel shown
//   bench_board --show theirs   the joiner's board after the host's plus (a long name wraps)
#include "board/board_view.h"
#include "model/match_model.h"
#include "rules/board.h"
#include "rules/cell.h"
#include "rules/win_rules.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QPainter>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

qint64 medianNs(const std::function<void()> &run, int runs = 20001)
{
    std::vector<qint64> times;
    times.reserve(size_t(runs));
    QElapsedTimer clock;
    for (int i = 0; i < runs; ++i) {
        clock.start();
        run();
        times.push_back(clock.nsecsElapsed());
    }
    std::nth_element(times.begin(), times.begin() + runs / 2, times.end());
    return times[size_t(runs / 2)];
}

void print(const char *what, qint64 ns)
{
    std::printf("%-52s %8lld ns\n", what, static_cast<long long>(ns));
}

int figures()
{
    const QString local = QStringLiteral("O");
    Board open = Board::fromString(u"XOX/XOO/OX.");
    print("tick, board without a line", medianNs([&] { WinRules::tick(open, local); }));

    const Board::States plus = *Board::parse(u".O./OOO/.O.");
    const Board::States cleared{};
    Board scoring;
    const qint64 reset = medianNs([&] { scoring.setStates(plus); scoring.setStates(cleared); });
    const qint64 withTick = medianNs([&] {
        scoring.setStates(plus);
        WinRules::tick(scoring, local);
        scoring.setStates(cleared);
    });
    print("tick, board with the plus (set-up cost taken out)", withTick - reset);

    BoardView view;
    MatchModel model(MatchSide::Join);  // a game under way: nothing covers the points
    Board &board = model.board();
    board.setStates(*Board::parse(u"XO./xo./..."));
    view.setModel(&model);
    const Board::States other = *Board::parse(u"OX./ox./XO.");
    const Board::States first = board.states();
    bool flip = false;
    print("redraw nine points, states unchanged", medianNs([&] { view.redrawAll(); }));
    print("redraw after a change of every point (two boards)", medianNs([&] {
              board.setStates(flip ? first : other);  // each change redraws its point
              flip = !flip;
          }) );
    QImage canvas(view.size(), QImage::Format_ARGB32_Premultiplied);
    print("paint the whole board area", medianNs([&] { view.render(&canvas); }, 2001));
    return 0;
}

int show(const QString &what)
{
    const bool theirs = what == QLatin1String("theirs");
    MatchModel model(theirs ? MatchSide::Join : MatchSide::Host);
    model.receive(QStringLiteral("OOlga Putri Kusumawardhani dari Bandung"));
    model.accepted();
    BoardView view;
    view.setModel(&model);
    view.move(0, 0);

    if (what == QLatin1String("win") || theirs) {
        model.board().setStates(*Board::parse(u"XO./O.O/XOX"));
        if (theirs)
            model.receive(QStringLiteral("B2"));
        else
            model.click(Cell::indexOf(u"B2"));  // completes the plus
    } else {
        model.board().setStates(*Board::parse(u"XO./xo./..."));
        model.LockBoard();  // the turn lock must not show
    }
    view.show();
    QTimer::singleShot(20000, qApp, &QCoreApplication::quit);
    return QApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    const QStringList args = [&] {
        QStringList list;
        for (int i = 1; i < argc; ++i)
            list << QString::fromLocal8Bit(argv[i]);
        return list;
    }();
    const int showAt = int(args.indexOf(QStringLiteral("--show")));
    if (showAt < 0 && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    if (showAt >= 0)
        return show(args.value(showAt + 1, QStringLiteral("five")));
    return figures();
}
