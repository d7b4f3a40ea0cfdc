#pragma once

#include <QString>

// One pattern found by a detection tick: whose it was, which one, and what it does to the
// two totals.
struct WinResult
{
    static constexpr int Plus = 0;  // `line` of the plus pattern; lines are 1..8

    QString mark;            // "X" or "O"
    bool local = false;      // the mark is the local player's
    int line = Plus;
    int ownChange = 0;       // +1 local line, +3 local plus, -1 opponent's line
    int opponentChange = 0;  // +3 for the opponent's plus, which costs the local player nothing

    bool isPlus() const { return line == Plus; }
    // The announcement: "Anda Menang!", "Anda Menang! Bonus!! +Triple Score",
    // "Anda Kalah!", or the opponent's name + " Melakukan +Triple Score".
    QString caption(const QString &opponentName) const;

    friend bool operator==(const WinResult &, const WinResult &) = default;
};
