#pragma once

#include "rules/board.h"

#include <QtGlobal>

// A board as the computer reads it: one bit per point (bit i is the point of index i, in the
// order of Cell), seen from the side about to move. `blocked` holds scored pieces ("X2",
// "O2") and any text that is no piece: taken, but part of no pattern any more.
struct Position
{
    static constexpr quint16 All = 0x1ff;

    quint16 mine = 0;
    quint16 theirs = 0;
    quint16 blocked = 0;

    quint16 free() const { return quint16(All & ~(mine | theirs | blocked)); }
    bool isFree(int cell) const { return free() & (1u << cell); }

    // The nine states of a board, for the side that plays `mark` ("O" or "X").
    static Position fromStates(const Board::States &states, const QString &mark);

    // What placing `own` | the point's bit scores for its owner, by the rules' order: the
    // plus pattern first (3), else a line through the point (1), else 0. Only the mover's
    // patterns can be new after a move, and a board in play holds none complete, so this is
    // all one move can score.
    static int scoreOf(quint16 own, int cell);

    friend bool operator==(const Position &, const Position &) = default;
};
