#pragma once

#include "board/board.h"
#include "board/win_result.h"

#include <QList>
#include <QObject>
#include <QString>

#include <functional>

class BoardView;
class QLabel;
class ScoreFile;

// The part of a match screen that plays the board, the same on the host's screen and the
// joiner's: clicks, the receipt of the opponent's move, win detection and scoring, and
// restart. The screen owns the controls and hands them in; this class keeps the nine
// point states (A1T .. C3T) and the local mark `XO`.
class BoardPlay : public QObject
{
    Q_OBJECT

public:
    enum class Side { Host, Joiner };
    using SendFunction = std::function<void(const QString &message)>;
    // Cue names: "WIN", "MeC", "MEX", "MEI", "Lose".
    using CueFunction = std::function<void(const QString &cueName)>;

    // What the screen lends; every pointer must outlive this object.
    struct Controls
    {
        BoardView *view = nullptr;   // the points, `trans` and `infox`
        QString *LastMsg = nullptr;  // shared with the screen's receiver and chat
        ScoreFile *WR = nullptr;     // own total, saved at every change
        QLabel *WRL2 = nullptr;      // opponent's total
        QLabel *Xname = nullptr;
        QLabel *Oname = nullptr;
        SendFunction send;
        CueFunction cue;
    };

    BoardPlay(Side side, const Controls &controls, QObject *parent = nullptr);

    Side side() const { return m_side; }
    Board &board() { return m_board; }
    const Board &board() const { return m_board; }
    // The local mark: "O" on the host, "X" on the joiner, for the whole match.
    const QString &XO() const { return m_XO; }
    // Only for reaching the receiver's other branch; a match never changes its mark.
    void setXO(const QString &mark) { m_XO = mark; }

    // The screen's load step for `WR`: reads the score file (creating it when missing) and
    // passes on what the player should hear about it through scoreFileProblem.
    void loadScore();

    void A1_Click() { click(0); }
    void A2_Click() { click(1); }
    void A3_Click() { click(2); }
    void B1_Click() { click(3); }
    void B2_Click() { click(4); }
    void B3_Click() { click(5); }
    void C1_Click() { click(6); }
    void C2_Click() { click(7); }
    void C3_Click() { click(8); }
    // A free point takes the local mark, its name is sent, the board locks and "MeC"
    // sounds, in that order; any other point only sounds "MEX".
    void click(int index);

    // The opponent's move, already in LastMsg: a point name overwrites that point with the
    // other mark and unlocks the board. False when LastMsg names no point.
    bool receiveMove();

    // One detection tick with its announcements and score changes. It also runs by itself
    // after every change of a point, once the handler that made the change has finished.
    QList<WinResult> WinTime_Timer();

    // Clears the nine points and hides `trans` and `infox`; the turn lock stays as it is.
    void restart();

    void LockBoard();
    void UnlockBoard();

signals:
    // The score file could not be saved or was found damaged: one sentence for the player.
    void scoreFileProblem(const QString &sentence);

private:
    void scheduleWinCheck();
    void announce(const WinResult &result);
    void cue(const QString &name) const;
    QString opponentName() const;

    Side m_side;
    Controls m_controls;
    QString m_XO;
    Board m_board;
    bool m_checkPending = false;
    bool m_ticking = false;
};
