#include "match_model.h"

#include "model/opponent.h"
#include "model/wire_peer.h"
#include "rules/cell.h"
#include "rules/cell_state.h"
#include "rules/move_rules.h"
#include "rules/total_text.h"
#include "rules/win_rules.h"
#include "wire/wire_message.h"
#include "wire/wire_receiver.h"

#include <QTimer>

MatchModel::MatchModel(MatchSide side, QObject *parent)
    : QObject(parent)
    , m_side(side)
    , m_XO(QLatin1String(ownMark(side)))
    , m_incoming(new Typewriter("Timer1", "Timer3", [this] { return m_LastMsg; }, this))
    , m_outgoing(new Typewriter("Timer2", "Timer4", [this] { return m_OutM; }, this))
    , m_Senddata(new QTimer(this))
    , m_SD(new QTimer(this))
{
    setObjectName(QStringLiteral("model"));
    m_board.setObjectName(QStringLiteral("board"));
    connect(&m_board, &Board::stateChanged, this, &MatchModel::cellChanged);
    connect(&m_board, &Board::stateChanged, this, &MatchModel::scheduleWinCheck);

    if (side == MatchSide::Host) {
        // Nobody can place a piece before a joiner is there.
        m_transShown = m_infoxShown = true;
        m_infox = QStringLiteral("Menunggu Koneksi User Client");
    } else {
        m_infox = QStringLiteral("Kamu Kalah!");
    }

    m_Senddata->setObjectName(QStringLiteral("Senddata"));
    m_Senddata->setSingleShot(true);
    connect(m_Senddata, &QTimer::timeout, this, [this] {
        if (m_opponent)
            m_opponent->totalSent(m_WR);
    });
    m_SD->setObjectName(QStringLiteral("SD"));
    m_SD->setSingleShot(true);
    connect(m_SD, &QTimer::timeout, this, [this] {
        if (m_opponent)
            m_opponent->nameSent(m_Xname);
    });
}

void MatchModel::setOpponent(Opponent *opponent)
{
    if (m_opponent && m_opponent->parent() == this)
        m_opponent->deleteLater();
    m_opponent = opponent;
    if (m_opponent && !m_opponent->parent())
        m_opponent->setParent(this);
}

void MatchModel::setSender(Sender sender)
{
    setOpponent(new WirePeer(m_side, std::move(sender), this));
}

void MatchModel::LockBoard()
{
    setLocked(true);
}

void MatchModel::UnlockBoard()
{
    setLocked(false);
}

void MatchModel::setLocked(bool locked)
{
    if (m_locked == locked)
        return;
    m_locked = locked;
    emit lockChanged(locked);
}

void MatchModel::setOwnName(const QString &name)
{
    (m_side == MatchSide::Host ? m_Oname : m_Xname) = name;
    emit namesChanged();
}

QString MatchModel::opponentName() const
{
    return m_side == MatchSide::Host ? m_Xname : m_Oname;
}

void MatchModel::setWR(const QString &total)
{
    m_WR = total;
    emit ownTotalChanged(m_WR);
}

void MatchModel::click(int index)
{
    if (!MoveRules::clickAllowed(m_board.state(index))) {
        emit happened(GameEvent::MoveRefused);
        return;
    }
    // The mark is written before the move is sent, and the board locks only after.
    m_board.setState(index, m_XO);
    m_LastMsg = Cell::name(index);
    if (m_opponent)
        m_opponent->movePlaced(index);
    LockBoard();
    emit happened(GameEvent::PiecePlaced);
}

bool MatchModel::receiveMove()
{
    const int index = Cell::indexOf(m_LastMsg);
    if (index < 0)
        return false;
    // Two branches keyed on the local mark, as each side's receiver has; only one runs,
    // and the other side's mark sounds differently on each side (the host's is silent).
    if (m_XO == CellState::x()) {
        m_board.setState(index, MoveRules::receivedMark(m_XO));
        UnlockBoard();
        if (m_side == MatchSide::Join)
            emit happened(GameEvent::OpponentMoved);
    }
    if (m_XO == CellState::o()) {
        m_board.setState(index, MoveRules::receivedMark(m_XO));
        UnlockBoard();
        emit happened(m_side == MatchSide::Host ? GameEvent::OpponentMoved : GameEvent::PiecePlaced);
    }
    return true;
}

QList<WinResult> MatchModel::WinTime_Timer()
{
    m_ticking = true;
    const QList<WinResult> results = WinRules::tick(m_board, m_XO);
    m_ticking = false;
    for (const WinResult &result : results)
        announce(result);
    return results;
}

void MatchModel::scheduleWinCheck()
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

void MatchModel::announce(const WinResult &result)
{
    m_game = Game::Decided;
    setCover(true, true, result.caption(opponentName()));
    if (result.opponentChange != 0) {
        m_WRL2 = TotalText::add(m_WRL2, result.opponentChange);
        emit opponentTotalChanged(m_WRL2);
    }
    if (result.ownChange != 0)
        setWR(TotalText::add(m_WR, result.ownChange));
    emit happened(result.local ? GameEvent::Won : GameEvent::Lost);
    emit decided(result);
}

void MatchModel::restart()
{
    m_board.clear();
    m_game = Game::Playing;
    setCover(false, false, m_infox);
}

void MatchModel::orderRestart()
{
    if (m_opponent)
        m_opponent->restartOrdered();
    restart();
}

void MatchModel::receive(const QString &message)
{
    m_LastMsg = message;
    using Kind = WireEffect::Kind;
    for (const WireEffect &effect : WireReceiver::effects(m_side, message)) {
        switch (effect.kind) {
        case Kind::OpponentTotal:
            opponentTotal(effect.text);
            break;
        case Kind::ReplyScore:
            m_Senddata->start(ScoreReplyDelay);
            break;
        case Kind::SendScore:
            if (m_opponent)
                m_opponent->totalSent(m_WR);
            break;
        case Kind::Restart:
            restart();
            break;
        case Kind::Chat:
            chatArrived();
            break;
        case Kind::LogChat:
            emit chatLogged(m_Xname + QStringLiteral(": ") + effect.text + QStringLiteral("\r\n"));
            break;
        case Kind::OpponentName:
            opponentNamed(effect.text);
            break;
        case Kind::Move:
            receiveMove();
            break;
        }
    }
}

void MatchModel::chatArrived()
{
    m_incoming->start();
    emit happened(GameEvent::ChatReceived);
}

void MatchModel::opponentMoved(int index)
{
    if (index < 0 || index >= Cell::Count)
        return;
    m_LastMsg = Cell::name(index);
    receiveMove();
}

void MatchModel::opponentChatted(const QString &text)
{
    const QString line = WireMessage::chat(text);
    m_LastMsg = line;
    chatArrived();
    if (m_side == MatchSide::Host)
        emit chatLogged(m_Xname + QStringLiteral(": ") + line.mid(4) + QStringLiteral("\r\n"));
}

void MatchModel::opponentTotal(const QString &total)
{
    m_WRL2 = total;
    emit opponentTotalChanged(m_WRL2);
}

void MatchModel::opponentNamed(const QString &name)
{
    (m_side == MatchSide::Host ? m_Xname : m_Oname) = name;
    emit namesChanged();
}

bool MatchModel::sendChat(const QString &text)
{
    if (text.isEmpty())
        return false;
    const QString line = WireMessage::chat(text);
    if (!m_opponent || !m_opponent->chatSent(text))
        return false;
    // Only the host keeps a log; the joiner's own lines never reach its history.
    if (m_side == MatchSide::Host)
        emit chatLogged(m_Oname + QStringLiteral(": ") + line.mid(4) + QStringLiteral("\r\n"));
    m_OutM = text;
    m_outgoing->start();
    return true;
}

void MatchModel::accepted()
{
    if (m_opponent)
        m_opponent->nameSent(m_Oname);
    setLink(Link::Connected);
    setCover(false, false, m_infox);
    emit happened(GameEvent::OpponentArrived);
}

void MatchModel::connected()
{
    if (m_opponent)
        m_opponent->totalSent(m_WR);
    setLink(Link::Connected);
    m_SD->start(NameDelay);
}

void MatchModel::peerClosed()
{
    setCover(true, true, QStringLiteral("Koneksi Terputus"));
    setLink(Link::Closed);
}

void MatchModel::cover(const QString &sentence)
{
    setCover(true, true, sentence);
}

void MatchModel::showTrans()
{
    setCover(true, m_infoxShown, m_infox);
}

void MatchModel::setCover(bool trans, bool infox, const QString &text)
{
    if (m_transShown == trans && m_infoxShown == infox && m_infox == text)
        return;
    m_transShown = trans;
    m_infoxShown = infox;
    m_infox = text;
    emit coverChanged();
}

void MatchModel::setLink(Link link)
{
    if (m_link == link)
        return;
    m_link = link;
    emit linkChanged(link);
}
