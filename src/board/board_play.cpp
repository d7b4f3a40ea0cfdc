#include "board_play.h"

#include "board/board_view.h"
#include "board/cell.h"
#include "board/cell_state.h"
#include "board/move_rules.h"
#include "board/score_file.h"
#include "board/total_text.h"
#include "board/win_rules.h"

#include <QLabel>

BoardPlay::BoardPlay(Side side, const Controls &controls, QObject *parent)
    : QObject(parent)
    , m_side(side)
    , m_controls(controls)
    , m_XO(side == Side::Host ? CellState::o() : CellState::x())
{
    Q_ASSERT(m_controls.view && m_controls.LastMsg && m_controls.WR);
    Q_ASSERT(m_controls.WRL2 && m_controls.Xname && m_controls.Oname);
    m_board.setObjectName(QStringLiteral("board"));
    m_controls.view->setBoard(&m_board);
    connect(m_controls.view, &BoardView::pointClicked, this, &BoardPlay::click);
    connect(&m_board, &Board::stateChanged, this, &BoardPlay::scheduleWinCheck);
}

void BoardPlay::loadScore()
{
    m_controls.WR->load();
    if (!m_controls.WR->notice().isEmpty())
        emit scoreFileProblem(m_controls.WR->notice());
}

void BoardPlay::click(int index)
{
    if (!MoveRules::clickAllowed(m_board.state(index))) {
        cue(QStringLiteral("MEX"));
        return;
    }
    m_board.setState(index, m_XO);
    *m_controls.LastMsg = Cell::name(index);
    if (m_controls.send)
        m_controls.send(*m_controls.LastMsg);
    LockBoard();
    cue(QStringLiteral("MeC"));
}

bool BoardPlay::receiveMove()
{
    const int index = MoveRules::movedCell(*m_controls.LastMsg);
    if (index < 0)
        return false;
    // Two independent branches keyed on the local mark, as each screen's receiver has;
    // only one runs, and their cues differ by side.
    if (m_XO == CellState::x()) {
        m_board.setState(index, MoveRules::receivedMark(m_XO));
        UnlockBoard();
        if (m_side == Side::Joiner)
            cue(QStringLiteral("MEI"));
    }
    if (m_XO == CellState::o()) {
        m_board.setState(index, MoveRules::receivedMark(m_XO));
        UnlockBoard();
        cue(m_side == Side::Host ? QStringLiteral("MEI") : QStringLiteral("MeC"));
    }
    return true;
}

QList<WinResult> BoardPlay::WinTime_Timer()
{
    m_ticking = true;
    const QList<WinResult> results = WinRules::tick(m_board, m_XO);
    m_ticking = false;
    for (const WinResult &result : results)
        announce(result);
    return results;
}

void BoardPlay::restart()
{
    m_board.clear();
    m_controls.view->trans()->hide();
    m_controls.view->infox()->hide();
}

void BoardPlay::LockBoard()
{
    m_controls.view->LockBoard();
}

void BoardPlay::UnlockBoard()
{
    m_controls.view->UnlockBoard();
}

void BoardPlay::scheduleWinCheck()
{
    // The tick's own marking of scored points needs no second look.
    if (m_ticking || m_checkPending)
        return;
    m_checkPending = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_checkPending = false;
            WinTime_Timer();
        },
        Qt::QueuedConnection);
}

void BoardPlay::announce(const WinResult &result)
{
    m_controls.view->trans()->show();
    m_controls.view->infox()->show();
    m_controls.view->infox()->setText(result.caption(opponentName()));
    if (result.opponentChange != 0) {
        QLabel *opponentTotal = m_controls.WRL2;
        opponentTotal->setText(TotalText::add(opponentTotal->text(), result.opponentChange));
    }
    if (result.ownChange != 0 && !m_controls.WR->add(result.ownChange))
        emit scoreFileProblem(m_controls.WR->notice());
    cue(result.local ? QStringLiteral("WIN") : QStringLiteral("Lose"));
}

void BoardPlay::cue(const QString &name) const
{
    if (m_controls.cue)
        m_controls.cue(name);
}

QString BoardPlay::opponentName() const
{
    return (m_side == Side::Host ? m_controls.Xname : m_controls.Oname)->text();
}
