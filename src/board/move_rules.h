#pragma once

#include <QString>
#include <QStringView>

// What a click and a received move do to one point, without any screen.
namespace MoveRules {

// A click places the local mark only on a free point; "X", "O", "X2", "O2" (and any other
// text) refuse it.
bool clickAllowed(const QString &state);
// The point a received message names: the whole message compared exactly with the nine
// names in order; -1 when it is not a move.
int movedCell(QStringView message);
// The mark a received move writes: the other one than the local mark ("O" -> "X",
// "X" -> "O"); empty for a local mark that is neither.
QString receivedMark(const QString &localMark);

} // namespace MoveRules
