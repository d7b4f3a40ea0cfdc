#include "move_rules.h"

#include "rules/cell_state.h"

namespace MoveRules {

bool clickAllowed(const QString &state)
{
    return state.isEmpty();
}

QString receivedMark(const QString &localMark)
{
    if (localMark == CellState::o())
        return CellState::x();
    if (localMark == CellState::x())
        return CellState::o();
    return {};
}

} // namespace MoveRules
