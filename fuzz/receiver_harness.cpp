#include "receiver_harness.h"

#include "fuzz_check.h"

#include "board/cell.h"
#include "board/cell_state.h"
#include "board/total_text.h"
#include "match/wire_effect.h"
#include "match/wire_message.h"
#include "match/wire_receiver.h"
#include "platform/rtf_document.h"
#include "platform/settings.h"

// Shared with the tests and the board benchmark; header-only, so nothing more to link.
#include "../tests/support/board_rig.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>

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
    void apply(const WireEffect &effect);
    void click(int index);
    void turnEventLoop();
    void checkAlways() const;
    bool locked() const;
    bool unlocked() const;

    MatchSide m_side;
    QString m_opponentMark;
    QStringList m_sent;
    QStringList m_cues;
    BoardRig m_rig;
    QString m_chatLog;
    QString m_lastTotal;  // what the last Score put into WRL2
    bool m_holdEventLoop = false;
};

Session::Session(MatchSide side)
    : m_side(side)
    , m_opponentMark(QString::fromLatin1(opponentMark(side)))
    , m_rig(side == MatchSide::Host ? BoardPlay::Side::Host : BoardPlay::Side::Joiner,
            ScoreFile::defaultPath(), [this](const QString &message) { m_sent << message; },
            [this](const QString &name) { m_cues << name; })
{
    // Every input starts from the same files: a fresh total of "0".
    QFile::remove(m_rig.WR.path());
    m_lastTotal = m_rig.WRL2.text();
    if (side == MatchSide::Join)
        m_rig.play.LockBoard();
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
            m_rig.play.WinTime_Timer();
        } else if (op == 0xEA) {
            m_rig.play.restart();
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
    // Every change of the total was saved at once, so the file says what the screen shows.
    if (QFile::exists(m_rig.WR.path()))
        FUZZ_CHECK(RtfDocument::load(m_rig.WR.path()) == m_rig.WR.text());
    else
        FUZZ_CHECK(m_rig.WR.text() == QLatin1String("0"));

    // For reading a saved crash input back: what the screen would have sent and sounded.
    if (qEnvironmentVariableIsSet("DORVALA_FUZZ_TRACE")) {
        std::fprintf(stderr, "board %s | own %s | opponent %s | sent %s | cues %s\n",
                     qPrintable(m_rig.play.board().toString()), qPrintable(m_rig.WR.text()),
                     qPrintable(m_rig.WRL2.text()), qPrintable(m_sent.join(u' ')),
                     qPrintable(m_cues.join(u' ')));
    }
}

void Session::arrival(const QByteArray &bytes)
{
    m_rig.LastMsg = WireMessage::decode(bytes);
    FUZZ_CHECK(WireMessage::encode(m_rig.LastMsg) == bytes);
    const QString message = m_rig.LastMsg;
    const QList<WireEffect> effects = WireReceiver::effects(m_side, message);
    checkEffects(m_side, message, effects);
    for (const WireEffect &effect : effects)
        apply(effect);
    FUZZ_CHECK(m_rig.LastMsg == message);
}

void Session::apply(const WireEffect &effect)
{
    switch (effect.kind) {
    case Kind::OpponentTotal:
        m_rig.WRL2.setText(effect.text);
        m_lastTotal = effect.text;
        break;
    case Kind::ReplyScore:
    case Kind::SendScore:
        m_sent << WireMessage::score(m_rig.WR.text());
        break;
    case Kind::Restart: {
        const bool wasLocked = locked();
        m_rig.play.restart();
        for (int i = 0; i < Cell::Count; ++i)
            FUZZ_CHECK(m_rig.play.board().state(i).isEmpty());
        FUZZ_CHECK(locked() == wasLocked);  // a restart leaves the turn lock alone
        break;
    }
    case Kind::Chat:
        m_cues << QStringLiteral("mess");
        break;
    case Kind::LogChat:
        m_chatLog += m_rig.Xname.text() + QStringLiteral(": ") + effect.text + QStringLiteral("\r\n");
        break;
    case Kind::OpponentName:
        (m_side == MatchSide::Host ? m_rig.Xname : m_rig.Oname).setText(effect.text);
        break;
    case Kind::Move: {
        const int index = Cell::indexOf(effect.text);
        const qsizetype sentBefore = m_sent.size();
        FUZZ_CHECK(m_rig.play.receiveMove());
        // The point takes the opponent's mark whatever it held, and it is our turn.
        FUZZ_CHECK(m_rig.play.board().state(index) == m_opponentMark);
        FUZZ_CHECK(unlocked());
        FUZZ_CHECK(m_sent.size() == sentBefore);
        FUZZ_CHECK(m_cues.last() == QLatin1String("MEI"));
        break;
    }
    }
}

void Session::click(int index)
{
    const QString before = m_rig.play.board().state(index);
    const qsizetype sentBefore = m_sent.size();
    m_rig.play.click(index);
    if (before.isEmpty()) {
        FUZZ_CHECK(m_rig.play.board().state(index) == QLatin1String(ownMark(m_side)));
        FUZZ_CHECK(m_sent.size() == sentBefore + 1 && m_sent.last() == Cell::name(index));
        FUZZ_CHECK(m_rig.LastMsg == Cell::name(index));
        FUZZ_CHECK(locked());
        FUZZ_CHECK(m_cues.last() == QLatin1String("MeC"));
    } else {
        FUZZ_CHECK(m_rig.play.board().state(index) == before);
        FUZZ_CHECK(m_sent.size() == sentBefore);
        FUZZ_CHECK(m_cues.last() == QLatin1String("MEX"));
    }
}

void Session::turnEventLoop()
{
    // Only the queued calls (the scheduled win check); nothing here paints or waits.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::MetaCall);
}

void Session::checkAlways() const
{
    for (int i = 0; i < Cell::Count; ++i)
        FUZZ_CHECK(isPointState(m_rig.play.board().state(i)));
    FUZZ_CHECK(TotalText::read(m_rig.WR.text()).has_value());
    FUZZ_CHECK(TotalText::write(*TotalText::read(m_rig.WR.text())) == m_rig.WR.text());
    // The opponent's total shows what the peer sent until a scored pattern changes it;
    // from then on it is a whole number.
    FUZZ_CHECK(m_rig.WRL2.text() == m_lastTotal || TotalText::read(m_rig.WRL2.text()).has_value());
    FUZZ_CHECK(locked() || unlocked());
    for (const QString &message : m_sent) {
        FUZZ_CHECK(Cell::indexOf(message) >= 0
                   || (message.startsWith(u'$') && TotalText::read(message.mid(1))));
    }
}

bool Session::locked() const
{
    return m_rig.lock() == BoardRig::Lock::Locked;
}

bool Session::unlocked() const
{
    return m_rig.lock() == BoardRig::Lock::Open;
}

} // namespace

void ReceiverHarness::run(MatchSide side, const uint8_t *data, size_t size)
{
    {
        Session session(side);
        session.run(data, size);
    }
    // Whatever else the widgets posted (polish, layout, deferred deletes) is handled now:
    // left in the queue it would pile up from input to input and slow every later one.
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}
