#pragma once

// What happened in a match that a player hears about. The model announces these; which
// sound each one makes is decided in one place (the match's cues).
enum class GameEvent {
    PiecePlaced,      // a free point took the local mark
    MoveRefused,      // a click on a taken point
    OpponentMoved,    // the opponent's move arrived
    Won,              // a pattern of the local mark scored
    Lost,             // a pattern of the opponent's mark scored
    ChatReceived,     // a chat line arrived
    OpponentArrived,  // the host accepted a joiner
};
