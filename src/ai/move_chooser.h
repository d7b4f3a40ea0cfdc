#pragma once

#include "ai/computer_level.h"
#include "ai/position.h"

#include <QRandomGenerator>

// The computer's choice of a point at one level. Choices that are equally good are drawn
// from the chooser's own generator, so a seed replays a whole game and two practice games
// still differ.
class MoveChooser
{
public:
    // How often the easy level takes a win that lies open, in percent.
    static constexpr int MudahTakesWin = 40;

    MoveChooser(ComputerLevel level, quint32 seed);

    ComputerLevel level() const { return m_level; }
    // A free point of `position` (the computer to move); -1 when none is free.
    int choose(const Position &position);

    // The free points where the side to move would score at once, the best score first
    // (a plus before a line); used for taking a win and, seen from the other side, for
    // blocking one.
    static QList<int> winningPoints(quint16 own, quint16 free);

private:
    int anyOf(const QList<int> &cells);
    int anyFree(quint16 free);

    ComputerLevel m_level;
    QRandomGenerator m_random;
};
