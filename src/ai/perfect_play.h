#pragma once

#include "ai/position.h"

#include <QList>

// The whole game searched with the real scoring.
//
// What a game is here: the first pattern scored decides it. Both boards are then covered
// until a restart, and the restart clears every point, so no move ever follows a score;
// a board filled without one is a draw (nothing is detected, nothing changes). The worth of
// a game to a side is therefore the points the deciding pattern moves between the two
// totals: +3 for its own plus pattern, +1 for its own line, 0 for a draw, -1 and -3 for the
// other side's. (A loss to the plus costs the loser's own total nothing, but it still puts
// the other side 3 ahead, so it counts -3: the difference between the totals is what the
// search keeps.)
//
// Among games of equal worth the quicker win and the longer defence are better: a value
// is worth * 10 plus the number of points still free when the game is decided, taken
// negative for a loss. So +3 in five moves beats +1 in one, a win now beats the same win
// later, and a loss later beats the same loss now.
namespace PerfectPlay {

// The value of the position for the side about to move, by the rules above.
int value(const Position &position);
// The free points whose move keeps that value, in index order; empty when none is free.
QList<int> bestMoves(const Position &position);
// The value a move on a free point leads to, for the side that makes it.
int valueOf(const Position &position, int cell);

// Fills the table of every position without scored pieces (3^9 entries of one byte each).
// Done on the first question otherwise; returns at once when it is there.
void prepare();

} // namespace PerfectPlay
