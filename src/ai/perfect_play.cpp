#include "perfect_play.h"

#include <array>
#include <bit>
#include <limits>

namespace PerfectPlay {

namespace {

constexpr int Codes = 19683;  // 3^9: each point empty, the mover's or the other side's
constexpr qint8 Unknown = std::numeric_limits<qint8>::min();

std::array<int, 9> powersOfThree()
{
    std::array<int, 9> powers{};
    int power = 1;
    for (int &p : powers) {
        p = power;
        power *= 3;
    }
    return powers;
}

const std::array<int, 9> Power = powersOfThree();

int codeOf(quint16 mine, quint16 theirs)
{
    int code = 0;
    for (int cell = 0; cell < 9; ++cell) {
        if (mine & (1u << cell))
            code += Power[size_t(cell)];
        else if (theirs & (1u << cell))
            code += 2 * Power[size_t(cell)];
    }
    return code;
}

// Values lie within -38..38, so one byte holds each; the table is 19 kB.
std::array<qint8, Codes> &table()
{
    static std::array<qint8, Codes> values = [] {
        std::array<qint8, Codes> empty;
        empty.fill(Unknown);
        return empty;
    }();
    return values;
}

int search(quint16 mine, quint16 theirs, quint16 blocked);

int moveValue(quint16 mine, quint16 theirs, quint16 blocked, int cell)
{
    const quint16 taken = quint16(mine | theirs | blocked | (1u << cell));
    const int score = Position::scoreOf(mine, cell);
    if (score > 0)
        return score * 10 + std::popcount(quint16(Position::All & ~taken));
    return -search(theirs, quint16(mine | (1u << cell)), blocked);
}

int search(quint16 mine, quint16 theirs, quint16 blocked)
{
    // Scored pieces are never on a board in play; such a board is searched without the
    // table, which has no room for them (eight free points at most: 40320 lines of play).
    qint8 *slot = blocked ? nullptr : &table()[size_t(codeOf(mine, theirs))];
    if (slot && *slot != Unknown)
        return *slot;
    const quint16 free = quint16(Position::All & ~(mine | theirs | blocked));
    int best = free ? std::numeric_limits<int>::min() : 0;
    for (int cell = 0; cell < 9; ++cell) {
        if (free & (1u << cell))
            best = std::max(best, moveValue(mine, theirs, blocked, cell));
    }
    if (slot)
        *slot = qint8(best);
    return best;
}

} // namespace

void prepare()
{
    search(0, 0, 0);
    // The other order of play: the side to move already one piece behind is reached from
    // the empty board too, so one search covers every position a game can reach.
}

int value(const Position &position)
{
    return search(position.mine, position.theirs, position.blocked);
}

int valueOf(const Position &position, int cell)
{
    return moveValue(position.mine, position.theirs, position.blocked, cell);
}

QList<int> bestMoves(const Position &position)
{
    QList<int> best;
    int bestValue = std::numeric_limits<int>::min();
    const quint16 free = position.free();
    for (int cell = 0; cell < 9; ++cell) {
        if (!(free & (1u << cell)))
            continue;
        const int v = valueOf(position, cell);
        if (v > bestValue) {
            bestValue = v;
            best.clear();
        }
        if (v == bestValue)
            best.append(cell);
    }
    return best;
}

} // namespace PerfectPlay
