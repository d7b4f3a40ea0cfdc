#pragma once

#include "rules/cell.h"
#include "rules/win_result.h"

#include <QList>

#include <array>

class Board;

// Win detection over one board, with no screen attached.
namespace WinRules {

using Line = std::array<int, 3>;
// The eight lines in the order they are tested: columns A, B, C, rows 1, 2, 3, then the
// diagonals A1-C3 and A3-C1. Points are listed in the order they are marked.
const std::array<Line, 8> &lines();
// The plus pattern, in the order its points are marked: A2, B2, C2, B3, B1.
const std::array<int, 5> &plus();

// One tick: the plus and the eight lines for "X", then the same for "O". Every test reads
// the board afresh and marks what it finds right away, so a point scored by an earlier
// test is out of play for the later ones and a repeated tick finds nothing new. The
// results come in the order found.
QList<WinResult> tick(Board &board, const QString &localMark);

} // namespace WinRules
