#include "practice_screen.h"

#include "match/clipped_label.h"
#include "match/scoreboard.h"
#include "model/computer_opponent.h"
#include "model/match_model.h"

#include <QLabel>
#include <QPushButton>
#include <QRandomGenerator>

PracticeScreen::PracticeScreen(ComputerLevel level, MatchSide playerSide, QWidget *parent)
    : MatchScreen(playerSide, parent)
    , m_computer(new ComputerOpponent(*m_model, level, QRandomGenerator::global()->generate()))
{
    setObjectName(QStringLiteral("practice"));
    m_model->setOpponent(m_computer);

    using Scoreboard::Mark;
    const QString caption = QStringLiteral("Skor Latihan:");
    if (playerSide == MatchSide::Host) {
        label("Label3", caption, Scoreboard::caption(MatchSide::Host, Mark::O));
    } else {
        label("Label2", caption, Scoreboard::caption(MatchSide::Join, Mark::O));
        label("Label5", caption, Scoreboard::caption(MatchSide::Join, Mark::X));
    }
    connect(Command3, &QPushButton::clicked, m_model, &MatchModel::orderRestart);
    connect(m_model, &MatchModel::opponentTotalChanged, this, [this](const QString &total) {
        m_totals.setComputer(total);
        saveTotals();
    });
}

PracticeScreen::~PracticeScreen()
{
    Form_QueryUnload();
}

void PracticeScreen::loadSteps()
{
    loadChatHistory();
    loadCues();
    m_totals.load();
    if (!m_totals.notice().isEmpty())
        showStatus(m_totals.notice());
    m_model->setWR(m_totals.player());
    Timer6_Timer();
    m_computer->setTotal(m_totals.computer());
    setWindowTitle(QStringLiteral("Dorvala Online :: Latihan melawan ") + m_computer->name());

    // The computer is there from the start, as a peer is once connected; X lets it open.
    if (m_side == MatchSide::Host) {
        m_model->accepted();
    } else {
        m_model->LockBoard();
        m_model->connected();
    }
    m_computer->start();
    // Either side may start the next game.
    Command3->setEnabled(true);
}

void PracticeScreen::keepOwnTotal(const QString &total)
{
    m_totals.setPlayer(total);
    saveTotals();
}

void PracticeScreen::saveTotals()
{
    if (!m_totals.save())
        showStatus(m_totals.notice());
}
