#include "receiver_harness.h"

#include "fuzz_check.h"

#include "model/match_model.h"
#include "rules/cell.h"
#include "rules/cell_state.h"
#include "rules/total_text.h"
#include "wire/wire_effect.h"
#include "wire/wire_message.h"
#include "wire/wire_receiver.h"

#include <QCoreApplication>
#include <QEvent>

#include <cstdio>

namespace {

using Kind = WireEffect::Kind;

bool isPointState(const QString &state)
{
    return state.isEmpty() || state == CellState::x() || state == CellState::o()
           || state == CellState::x2() || state == CellState::o2();
}

// The effects of one message all come from one test of the receiver: the first
// characters that the tests look at ("$", "X" alone, "msg", "O" or "X", a whole Cell name)
// exclude each other, for any text at all, not only for what a conforming peer sends.
int group(Kind kind)
{
    switch (kind) {
    case Kind::OpponentTotal:
    case Kind::ReplyScore:
        return 0;
    case Kind::SendScore:
    case Kind::Restart:
        return 1;
    case Kind::Chat:
    case Kind::LogChat:
        return 2;
    case Kind::OpponentName:
        return 3;
    case Kind::Move:
        return 4;
    }
    return -1;
}

void checkEffects(MatchSide side, const QString &message, const QList<WireEffect> &effects)
{
    const bool host = side == MatchSide::Host;
    for (qsizetype i = 0; i < effects.size(); ++i) {
        const WireEffect &e = effects[i];
        FUZZ_CHECK(group(e.kind) == group(effects.front().kind));
        if (i > 0)
            FUZZ_CHECK(int(effects[i - 1].kind) < int(e.kind));
        switch (e.kind) {
        case Kind::OpponentTotal:
            FUZZ_CHECK(message.startsWith(u'$') && e.text == message.mid(1));
            break;
        case Kind::ReplyScore:
            FUZZ_CHECK(host && message.startsWith(u'$'));
            break;
        case Kind::SendScore:
        case Kind::Restart:
            FUZZ_CHECK(!host && message == QLatin1String("X"));
            break;
        case Kind::Chat:
        case Kind::LogChat:
            // "msg" alone (or shorter) is not a chat line and must not reach the bubble.
            FUZZ_CHECK(message.startsWith(QLatin1String("msg")) && message.size() >= 4);
            FUZZ_CHECK(e.text == message.mid(4));
            FUZZ_CHECK(host || e.kind != Kind::LogChat);
            break;
        case Kind::OpponentName:
            FUZZ_CHECK(message.startsWith(host ? u'X' : u'O') && e.text == message.mid(1));
            break;
        case Kind::Move:
            FUZZ_CHECK(Cell::indexOf(message) >= 0 && e.text == message);
            break;
        }
    }
    // A message is a move exactly when it is a Cell name, on both sides.
    const bool moved = !effects.isEmpty() && effects.back().kind == Kind::Move;
    FUZZ_CHECK(moved == (Cell::indexOf(message) >= 0));
}

class Session
{
public:
    explicit Session(MatchSide side);
    void run(const uint8_t *data, size_t size);

private:
    void arrival(const QByteArray &bytes);
    void checkArrival(const QString &message, const QList<WireEffect> &effects);
    void click(int index);
    void turnEventLoop();
    void checkAlways() const;

    MatchSide m_side;
    QString m_opponentMark;
    QStringList m_sent;
    QList<GameEvent> m_events;
    QStringList m_chatLog;
    MatchModel m_model;
    QString m_announcedTotal;  // the own total as last announced, for saving
    QString m_lastTotal;       // what the last Score put into WRL2
    bool m_holdEventLoop = false;
};

Session::Session(MatchSide side)
    : m_side(side)
    , m_opponentMark(QString::fromLatin1(opponentMark(side)))
    , m_model(side)
{
    m_model.setSender([this](const QString &message, bool) {
        m_sent << message;
        return true;
    });
    QObject::connect(&m_model, &MatchModel::happened, [this](GameEvent e) { m_events << e; });
    QObject::connect(&m_model, &MatchModel::chatLogged, [this](const QString &l) { m_chatLog << l; });
    QObject::connect(&m_model, &MatchModel::ownTotalChanged,
                     [this](const QString &total) { m_announcedTotal = total; });
    m_announcedTotal = m_model.WR();
    m_lastTotal = m_model.WRL2();
    // As the screens are: the host past its greeting, the joiner locked until O moves.
    if (side == MatchSide::Host)
        m_model.accepted();
    else
        m_model.LockBoard();
    m_sent.clear();
    m_events.clear();
}

void Session::run(const uint8_t *data, size_t size)
{
    size_t pos = 0;
    while (pos < size) {
        const uint8_t op = data[pos++];
        if (op < 0xE0 || op >= 0xEC) {
            size_t length = op;
            if (op >= 0xEC) {
                if (pos >= size)
                    break;
                length = 224 + data[pos++];
            }
            length = std::min(length, size - pos);
            arrival(QByteArray(reinterpret_cast<const char *>(data + pos), qsizetype(length)));
            pos += length;
        } else if (op <= 0xE8) {
            click(op - 0xE0);
        } else if (op == 0xE9) {
            m_model.WinTime_Timer();
        } else if (op == 0xEA) {
            m_model.restart();
        } else {
            m_holdEventLoop = true;
            continue;
        }
        checkAlways();
        if (!m_holdEventLoop)
            turnEventLoop();
        m_holdEventLoop = false;
        checkAlways();
    }
    turnEventLoop();
    checkAlways();

    // For reading a saved crash input back: what the screen would have sent and shown.
    if (qEnvironmentVariableIsSet("DORVALA_FUZZ_TRACE")) {
        std::fprintf(stderr, "board %s | own %s | opponent %s | sent %s | events %lld\n",
                     qPrintable(m_model.board().toString()), qPrintable(m_model.WR()),
                     qPrintable(m_model.WRL2()), qPrintable(m_sent.join(u' ')),
                     static_cast<long long>(m_events.size()));
    }
}

void Session::arrival(const QByteArray &bytes)
{
    const QString message = WireMessage::decode(bytes);
    FUZZ_CHECK(WireMessage::encode(message) == bytes);
    const QList<WireEffect> effects = WireReceiver::effects(m_side, message);
    checkEffects(m_side, message, effects);

    const bool wasLocked = m_model.isLocked();
    const qsizetype sentBefore = m_sent.size();
    const qsizetype eventsBefore = m_events.size();
    const qsizetype logBefore = m_chatLog.size();
    m_model.receive(message);
    FUZZ_CHECK(m_model.LastMsg() == message);

    bool moved = false, restarted = false, chat = false, logged = false, answered = false;
    for (const WireEffect &e : effects) {
        moved |= e.kind == Kind::Move;
        restarted |= e.kind == Kind::Restart;
        chat |= e.kind == Kind::Chat;
        logged |= e.kind == Kind::LogChat;
        answered |= e.kind == Kind::SendScore;
        if (e.kind == Kind::OpponentTotal) {
            FUZZ_CHECK(m_model.WRL2() == e.text);
            m_lastTotal = e.text;
        }
        if (e.kind == Kind::OpponentName)
            FUZZ_CHECK(m_model.opponentName() == e.text);
    }
    if (moved) {
        // The point takes the opponent's mark whatever it held, and it is our turn.
        FUZZ_CHECK(m_model.state(Cell::indexOf(message)) == m_opponentMark);
        FUZZ_CHECK(!m_model.isLocked());
        FUZZ_CHECK(m_events.size() == eventsBefore + 1 && m_events.last() == GameEvent::OpponentMoved);
    } else {
        // Nothing but a move touches the turn lock, a restart included.
        FUZZ_CHECK(m_model.isLocked() == wasLocked);
    }
    if (restarted) {
        for (int i = 0; i < Cell::Count; ++i)
            FUZZ_CHECK(m_model.state(i).isEmpty());
    }
    FUZZ_CHECK(!chat || m_events.last() == GameEvent::ChatReceived);
    FUZZ_CHECK(m_chatLog.size() == logBefore + (logged ? 1 : 0));
    // Only the joiner answers at once, and only a restart.
    FUZZ_CHECK(m_sent.size() == sentBefore + (answered ? 1 : 0));
}

void Session::click(int index)
{
    const QString before = m_model.state(index);
    const qsizetype sentBefore = m_sent.size();
    m_model.click(index);
    if (before.isEmpty()) {
        FUZZ_CHECK(m_model.state(index) == QLatin1String(ownMark(m_side)));
        FUZZ_CHECK(m_sent.size() == sentBefore + 1 && m_sent.last() == Cell::name(index));
        FUZZ_CHECK(m_model.LastMsg() == Cell::name(index));
        FUZZ_CHECK(m_model.isLocked());
        FUZZ_CHECK(m_events.last() == GameEvent::PiecePlaced);
    } else {
        FUZZ_CHECK(m_model.state(index) == before);
        FUZZ_CHECK(m_sent.size() == sentBefore);
        FUZZ_CHECK(m_events.last() == GameEvent::MoveRefused);
    }
}

void Session::turnEventLoop()
{
    // Only the queued calls (the scheduled win check); the timers' sends are left out.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
}

void Session::checkAlways() const
{
    for (int i = 0; i < Cell::Count; ++i)
        FUZZ_CHECK(isPointState(m_model.state(i)));
    const QString &own = m_model.WR();
    FUZZ_CHECK(TotalText::read(own).has_value());
    FUZZ_CHECK(TotalText::write(*TotalText::read(own)) == own);
    // Every change of the own total was announced, so a screen saves what it shows.
    FUZZ_CHECK(m_announcedTotal == own);
    // The opponent's total shows what the peer sent until a scored pattern changes it;
    // from then on it is a whole number.
    FUZZ_CHECK(m_model.WRL2() == m_lastTotal || TotalText::read(m_model.WRL2()).has_value());
    for (const QString &message : m_sent) {
        FUZZ_CHECK(Cell::indexOf(message) >= 0
                   || (message.startsWith(u'$') && TotalText::read(message.mid(1))));
    }
}

} // namespace

void ReceiverHarness::run(MatchSide side, const uint8_t *data, size_t size)
{
    {
        Session session(side);
        session.run(data, size);
    }
    // Whatever else was posted (deferred deletes) is handled now: left in the queue it would
    // pile up from input to input and slow every later one.
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}
