#include "computer_opponent.h"

#include "ai/position.h"
#include "model/match_model.h"
#include "rules/move_rules.h"
#include "rules/total_text.h"

#include <QTimer>

QString ComputerOpponent::greeting()
{
    return QStringLiteral("Halo! Ayo kita main.");
}

QString ComputerOpponent::onPlayerWin()
{
    return QStringLiteral("Wah, kamu hebat!");
}

QString ComputerOpponent::onComputerWin()
{
    return QStringLiteral("Hore, aku menang! Lagi?");
}

QString ComputerOpponent::nudge()
{
    return QStringLiteral("Giliranmu, lho...");
}

std::optional<int> ComputerOpponent::delayFromEnvironment()
{
    bool ok = false;
    const int ms = qEnvironmentVariableIntValue("DORVALA_COMPUTER_DELAY", &ok);
    if (!ok || ms < 0 || ms > 10000)
        return std::nullopt;
    return ms;
}

ComputerOpponent::ComputerOpponent(MatchModel &model, ComputerLevel level, quint32 seed, QObject *parent)
    : Opponent(parent)
    , m_model(model)
    , m_chooser(level, seed)
    , m_pauses(seed ^ 0x9e3779b9u)
    , m_fixedDelay(delayFromEnvironment())
    , m_thinking(new QTimer(this))
    , m_patience(new QTimer(this))
{
    setObjectName(QStringLiteral("computer"));
    m_thinking->setObjectName(QStringLiteral("thinking"));
    m_thinking->setSingleShot(true);
    connect(m_thinking, &QTimer::timeout, this, &ComputerOpponent::play);
    m_patience->setObjectName(QStringLiteral("patience"));
    m_patience->setSingleShot(true);
    m_patience->setInterval(NudgeAfter);
    connect(m_patience, &QTimer::timeout, this, [this] { say(nudge()); });
    connect(&m_model, &MatchModel::decided, this, &ComputerOpponent::onDecided);
}

QString ComputerOpponent::name() const
{
    return QStringLiteral("Komputer (") + ComputerLevels::title(level()) + u')';
}

void ComputerOpponent::setTotal(const QString &total)
{
    m_total = TotalText::write(TotalText::read(total).value_or(0));
}

void ComputerOpponent::start()
{
    m_model.opponentNamed(name());
    m_model.opponentTotal(m_total);
    say(greeting());
    think();
}

bool ComputerOpponent::myTurn() const
{
    return m_model.isLocked() && m_model.game() == MatchModel::Game::Playing
           && m_model.link() == MatchModel::Link::Connected;
}

void ComputerOpponent::think()
{
    // Called right after a change that the model has not finished yet (the player's piece
    // is placed before the board locks): the turn is judged when the pause is over.
    m_patience->stop();
    // Its own words are typed from `LastMsg`, which its move would overwrite mid-word: a
    // line still being typed is let finish first.
    Typewriter &bubble = m_model.incoming();
    if (bubble.isShowing() && bubble.counter() < m_model.LastMsg().size()) {
        if (!m_waitingForWords) {
            m_waitingForWords = true;
            connect(&bubble, &Typewriter::finished, this, [this] {
                m_waitingForWords = false;
                think();
            }, Qt::SingleShotConnection);
        }
        return;
    }
    m_thinking->start(pause());
}

int ComputerOpponent::pause()
{
    return m_fixedDelay ? *m_fixedDelay : MinDelay + int(m_pauses.bounded(MaxDelay - MinDelay + 1));
}

void ComputerOpponent::play()
{
    if (!myTurn()) {
        if (m_model.game() == MatchModel::Game::Playing && !m_model.isLocked())
            m_patience->start();
        return;
    }
    const QString mark = MoveRules::receivedMark(m_model.XO());
    QElapsedTimer clock;
    clock.start();
    const int cell = m_chooser.choose(Position::fromStates(m_model.board().states(), mark));
    const qint64 spent = clock.nsecsElapsed();
    if (cell < 0)
        return;  // a full board: nothing is detected, a restart follows
    emit moveChosen(cell, spent);
    m_model.opponentMoved(cell);
    m_patience->start();
}

void ComputerOpponent::onDecided(const WinResult &result)
{
    m_patience->stop();
    m_thinking->stop();
    // Scored as the other end of a network match scores its own total.
    if (!result.local)
        m_total = TotalText::add(m_total, result.isPlus() ? 3 : 1);
    else if (!result.isPlus())
        m_total = TotalText::add(m_total, -1);
    m_model.opponentTotal(m_total);
    // A moment later, as a person would, and not over the verdict's own sound.
    const QString line = result.local ? onPlayerWin() : onComputerWin();
    QTimer::singleShot(pause(), this, [this, line] { say(line); });
}

void ComputerOpponent::say(const QString &line)
{
    m_model.opponentChatted(line);
}

bool ComputerOpponent::movePlaced(int)
{
    think();
    return true;
}

bool ComputerOpponent::chatSent(const QString &)
{
    return true;  // it listens to nobody, but it is there to hear
}

bool ComputerOpponent::totalSent(const QString &)
{
    return true;
}

bool ComputerOpponent::nameSent(const QString &)
{
    return true;
}

bool ComputerOpponent::restartOrdered()
{
    think();
    return true;
}
