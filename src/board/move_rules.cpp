#include "move_rules.h"

#include "board/cell.h"
#include "board/cell_state.h"

namespace MoveRules {

bool clickAllowed(const QString &state)
{
    return state.isEmpty();
}

int movedCell(QStringView message)
{
    return Cell::indexOf(message);
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
