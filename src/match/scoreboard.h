#pragma once

#include "rules/match_side.h"

#include <QRect>
#include <QString>

class QPainter;

// The side panel of a match screen read as a scoreboard: the turn lamp at the top, then
// one card per player (stone, name, total) under its "Total Menang:" caption, the own mark
// large below them. The host shows one caption over both cards, the joiner one over each,
// so the joiner's second card sits a caption lower. Labels are placed on these boxes; the
// cards themselves are painted under them.
namespace Scoreboard {

// The player a card shows: O is the host's mark, X the joiner's.
enum class Mark { O, X };

QRect turnCaption();
QRect turnLamp();
// The "Total Menang:" caption over the card of `mark`; on the host the one over O spans
// both cards.
QRect caption(MatchSide screen, Mark mark);
QRect card(MatchSide screen, Mark mark);
QRect stone(MatchSide screen, Mark mark);
QRect name(MatchSide screen, Mark mark);
QRect total(MatchSide screen, Mark mark);
QRect ownMark();
QRect statusLine();

// Style sheets of the pieces, by objectName selector.
QString style();

// The cards, their stones and the rule under the turn row, the own card rimmed in gold.
void paint(QPainter &painter, MatchSide screen);

} // namespace Scoreboard
