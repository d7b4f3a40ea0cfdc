#pragma once

#include "ai/computer_level.h"
#include "ai/move_chooser.h"
#include "model/opponent.h"

#include <QElapsedTimer>

#include <optional>

class MatchModel;
class QTimer;
struct WinResult;

// The computer as the opponent of a practice game. It plays whenever the board waits for
// the opponent (the local board locked, the game in play), after a short thinking pause,
// and speaks a few lines of its own: a greeting, a word on each decided game, and a nudge
// when the player takes long. It keeps its own total, scored as a peer scores its own
// (its line +1, its plus +3, the player's line -1), and tells the model, as a peer's Score
// message would.
class ComputerOpponent : public Opponent
{
    Q_OBJECT
public:
    // The thinking pause is drawn from MinDelay..MaxDelay unless a fixed one is set.
    static constexpr int MinDelay = 300;
    static constexpr int MaxDelay = 700;
    // Silence of the player on their own turn before the computer says something.
    static constexpr int NudgeAfter = 20000;

    // The lines it says.
    static QString greeting();
    static QString onPlayerWin();
    static QString onComputerWin();
    static QString nudge();

    // The fixed pause from DORVALA_COMPUTER_DELAY (milliseconds, 0..10000); nothing when
    // unset or not such a number, and the pause varies.
    static std::optional<int> delayFromEnvironment();

    ComputerOpponent(MatchModel &model, ComputerLevel level, quint32 seed, QObject *parent = nullptr);

    ComputerLevel level() const { return m_chooser.level(); }
    QString name() const;
    // A fixed thinking pause in milliseconds (0: none, for tests), or nothing for a varied one.
    void setDelay(std::optional<int> milliseconds) { m_fixedDelay = milliseconds; }
    // Its total as it was when the last practice ended; text that is no total counts 0.
    void setTotal(const QString &total);
    const QString &total() const { return m_total; }

    // The game is on: says hello, tells the model its name and total, and plays if the
    // board waits for it.
    void start();

    bool movePlaced(int cell) override;
    bool chatSent(const QString &text) override;
    bool totalSent(const QString &total) override;
    bool nameSent(const QString &name) override;
    bool restartOrdered() override;

signals:
    // A move was chosen, and how long choosing took (for the benchmark and the curious).
    void moveChosen(int cell, qint64 nanoseconds);

private:
    bool myTurn() const;
    void think();
    int pause();
    void play();
    void onDecided(const WinResult &result);
    void say(const QString &line);

    MatchModel &m_model;
    MoveChooser m_chooser;
    QRandomGenerator m_pauses;
    std::optional<int> m_fixedDelay;
    QTimer *m_thinking;
    QTimer *m_patience;
    QString m_total = QStringLiteral("0");
    bool m_waitingForWords = false;
};
