#pragma once

#include <QObject>
#include <QString>

// The other player of a match, as the model sees it. The model tells it what the local
// player does, in typed calls (a point is its cell index, never text); what the opponent
// does comes back through the model's own calls (MatchModel::opponentMoved and the like).
// Two kinds exist: the network peer (WirePeer), which turns the calls into the match's wire
// messages, and the computer (ComputerOpponent), which plays. The model cannot tell them
// apart, nor can the screens that show it.
//
// Each call returns false when nobody heard it (a peer not yet or no longer connected).
class Opponent : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // The local player placed a piece on `cell`; it should reach the other side before the
    // local board repaints.
    virtual bool movePlaced(int cell) = 0;
    virtual bool chatSent(const QString &text) = 0;
    // The local total (`WR`), as text.
    virtual bool totalSent(const QString &total) = 0;
    // The local player's name.
    virtual bool nameSent(const QString &name) = 0;
    // The local side clears the board for a new game.
    virtual bool restartOrdered() = 0;
};
