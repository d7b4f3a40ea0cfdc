#pragma once

#include <QString>
#include <QStringView>

#include <optional>

// How well the computer plays. The names are the words players type and see.
//   Mudah     plays loosely: any free point, and an open win only now and then.
//   Sedang    takes an open win, blocks the player's, otherwise any free point.
//   Sempurna  never loses: it searches the whole game (see PerfectPlay).
enum class ComputerLevel { Mudah, Sedang, Sempurna };

namespace ComputerLevels {

// "mudah", "sedang", "sempurna", in any letter case; nothing for any other word.
std::optional<ComputerLevel> fromName(QStringView name);
// The lower-case name, as typed on the command line.
QString name(ComputerLevel level);
// The name as a player reads it: "Mudah", "Sedang", "Sempurna".
QString title(ComputerLevel level);

} // namespace ComputerLevels
