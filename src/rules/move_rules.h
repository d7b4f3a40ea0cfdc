#pragma once

#include <QString>
#include <QStringView>

// What a click and a received move do to one point, without any screen.
namespace MoveRules {

// A click places the local mark only on a free point; "X", "O", "X2", "O2" (and any other
// text) refuse it.
bool clickAllowed(const QString &state);
// The mark a received move writes: the other one than the local mark ("O" -> "X",
// "X" -> "O"); empty for a local mark that is neither.
QString receivedMark(const QString &localMark);

} // namespace MoveRules
