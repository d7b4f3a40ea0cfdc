#include "move_chooser.h"

#include "ai/perfect_play.h"

MoveChooser::MoveChooser(ComputerLevel level, quint32 seed)
    : m_level(level)
    , m_random(seed)
{
}

QList<int> MoveChooser::winningPoints(quint16 own, quint16 free)
{
    QList<int> plus;
    QList<int> lines;
    for (int cell = 0; cell < 9; ++cell) {
        if (!(free & (1u << cell)))
            continue;
        const int score = Position::scoreOf(own, cell);
        if (score == 3)
            plus.append(cell);
        else if (score == 1)
            lines.append(cell);
    }
    return plus + lines;
}

int MoveChooser::choose(const Position &position)
{
    const quint16 free = position.free();
    if (!free)
        return -1;
    switch (m_level) {
    case ComputerLevel::Mudah: {
        const QList<int> wins = winningPoints(position.mine, free);
        if (!wins.isEmpty() && int(m_random.bounded(100)) < MudahTakesWin)
            return wins.first();
        return anyFree(free);
    }
    case ComputerLevel::Sedang: {
        const QList<int> wins = winningPoints(position.mine, free);
        if (!wins.isEmpty())
            return wins.first();
        // The player's best threat first: a plus costs the computer three.
        const QList<int> threats = winningPoints(position.theirs, free);
        if (!threats.isEmpty())
            return threats.first();
        return anyFree(free);
    }
    case ComputerLevel::Sempurna:
        return anyOf(PerfectPlay::bestMoves(position));
    }
    return -1;
}

int MoveChooser::anyOf(const QList<int> &cells)
{
    if (cells.isEmpty())
        return -1;
    return cells[qsizetype(m_random.bounded(quint32(cells.size())))];
}

int MoveChooser::anyFree(quint16 free)
{
    QList<int> cells;
    for (int cell = 0; cell < 9; ++cell) {
        if (free & (1u << cell))
            cells.append(cell);
    }
    return anyOf(cells);
}
