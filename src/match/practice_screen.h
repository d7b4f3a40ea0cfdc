#pragma once

#include "ai/computer_level.h"
#include "match/match_screen.h"
#include "model/practice_totals.h"

class ComputerOpponent;

// Practice against the computer: the match screen of the side the player picked (O moves
// first, X lets the computer open), with the computer as the opponent instead of a peer.
// Nothing of the network is used: no listening, no registry, no connection. The totals are
// the practice totals (PracticeTotals), never the score file; "Restart" is the player's on
// either side.
class PracticeScreen : public MatchScreen
{
    Q_OBJECT
public:
    PracticeScreen(ComputerLevel level, MatchSide playerSide, QWidget *parent = nullptr);
    ~PracticeScreen() override;

    ComputerOpponent *computer() const { return m_computer; }
    const PracticeTotals &totals() const { return m_totals; }

protected:
    void loadSteps() override;
    void keepOwnTotal(const QString &total) override;

private:
    void saveTotals();

    ComputerOpponent *m_computer;
    PracticeTotals m_totals;
};
