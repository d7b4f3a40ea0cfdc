#pragma once

// Which end of a match a screen plays. The host listens and plays "O"; the joiner connects
// and plays "X". The mark never changes while a screen exists.
enum class MatchSide { Host, Join };

inline const char *ownMark(MatchSide side)
{
    return side == MatchSide::Host ? "O" : "X";
}

inline const char *opponentMark(MatchSide side)
{
    return side == MatchSide::Host ? "X" : "O";
}
