#pragma once

#include "ai/perfect_play.h"
#include "model/match_model.h"
#include "rules/cell.h"

// The player's worst free point by the full search: a player who always takes it loses to
// the perfect computer, whatever that one picks among its equals.
inline int worstPoint(const MatchModel &model)
{
    const Position position = Position::fromStates(model.board().states(), model.XO());
    int worst = -1;
    for (int cell = 0; cell < Cell::Count; ++cell) {
        if (position.isFree(cell)
            && (worst < 0 || PerfectPlay::valueOf(position, cell) < PerfectPlay::valueOf(position, worst)))
            worst = cell;
    }
    return worst;
}
