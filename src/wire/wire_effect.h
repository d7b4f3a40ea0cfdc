#pragma once

#include <QString>

// One thing a received message makes a match screen do. The receiver returns these in the
// order the screen must apply them; the screen owns the controls they touch.
struct WireEffect
{
    enum class Kind {
        OpponentTotal,  // text: the opponent's total, shown as it came (may be empty)
        ReplyScore,     // host: answer with its own total once, a moment later
        SendScore,      // joiner: answer with its own total at once
        Restart,        // joiner: lift the overlay and clear the nine points
        Chat,           // text: the line without "msg:"; show the bubble, type it, sound mess
        LogChat,        // host: write the opponent's line into the chat history
        OpponentName,   // text: the opponent's name
        Move,           // text: a Cell name; put the opponent's mark there and unlock
    };

    Kind kind;
    QString text;

    friend bool operator==(const WireEffect &, const WireEffect &) = default;
};
