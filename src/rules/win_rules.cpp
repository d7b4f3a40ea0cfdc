#include "win_rules.h"

#include "rules/board.h"
#include "rules/cell_state.h"

#include <span>

namespace WinRules {

namespace {

bool allHold(const Board &board, std::span<const int> cells, const QString &mark)
{
    for (int cell : cells) {
        if (board.state(cell) != mark)
            return false;
    }
    return true;
}

WinResult score(Board &board, std::span<const int> cells, const QString &mark,
                const QString &localMark, int line)
{
    const QString scored = CellState::scored(mark);
    WinResult result;
    result.mark = mark;
    result.local = mark == localMark;
    result.line = line;
    for (int cell : cells)
        board.setState(cell, scored);
    const int worth = result.isPlus() ? 3 : 1;
    if (result.local)
        result.ownChange = worth;
    else if (result.isPlus())
        result.opponentChange = worth;
    else
        result.ownChange = -worth;
    return result;
}

} // namespace

const std::array<Line, 8> &lines()
{
    static constexpr std::array<Line, 8> all{{
        {0, 1, 2}, {3, 4, 5}, {6, 7, 8},  // columns A, B, C
        {0, 3, 6}, {1, 4, 7}, {2, 5, 8},  // rows 1, 2, 3
        {0, 4, 8}, {2, 4, 6},             // diagonals
    }};
    return all;
}

const std::array<int, 5> &plus()
{
    static constexpr std::array<int, 5> cells{1, 4, 7, 5, 3};
    return cells;
}

QList<WinResult> tick(Board &board, const QString &localMark)
{
    QList<WinResult> results;
    for (const QString &mark : {CellState::x(), CellState::o()}) {
        if (allHold(board, plus(), mark))
            results.append(score(board, plus(), mark, localMark, WinResult::Plus));
        for (size_t i = 0; i < lines().size(); ++i) {
            if (allHold(board, lines()[i], mark))
                results.append(score(board, lines()[i], mark, localMark, int(i) + 1));
        }
    }
    return results;
}

} // namespace WinRules
