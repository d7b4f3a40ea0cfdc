#include "cell_state.h"

QString CellState::pictureName(const QString &state)
{
    if (state.isEmpty())
        return QStringLiteral("N");
    if (state == x() || state == o() || state == x2() || state == o2())
        return state;
    return {};
}
