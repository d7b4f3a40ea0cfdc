#include "wire_receiver.h"

#include "rules/cell.h"

namespace {

using Kind = WireEffect::Kind;

// The part after the "msg:" of a chat line; a line too short to have one is not chat.
bool chatText(const QString &message, QString *text)
{
    if (!message.startsWith(QLatin1String("msg")) || message.size() < 4)
        return false;
    *text = message.mid(4);
    return true;
}

QList<WireEffect> hostEffects(const QString &message)
{
    QList<WireEffect> out;
    if (message.startsWith(QLatin1Char('$'))) {
        out.append({Kind::OpponentTotal, message.mid(1)});
        out.append({Kind::ReplyScore, {}});
    }
    QString text;
    if (chatText(message, &text)) {
        out.append({Kind::Chat, text});
        out.append({Kind::LogChat, text});
    }
    // A lone "X" is a joiner with an empty name here: only the joiner obeys restarts.
    if (message.startsWith(QLatin1Char('X')))
        out.append({Kind::OpponentName, message.mid(1)});
    if (Cell::indexOf(message) >= 0)
        out.append({Kind::Move, message});
    return out;
}

QList<WireEffect> joinEffects(const QString &message)
{
    QList<WireEffect> out;
    if (message.startsWith(QLatin1Char('$')))
        out.append({Kind::OpponentTotal, message.mid(1)});
    if (message == QLatin1String("X")) {
        out.append({Kind::SendScore, {}});
        out.append({Kind::Restart, {}});
    }
    QString text;
    if (chatText(message, &text))
        out.append({Kind::Chat, text});
    if (message.startsWith(QLatin1Char('O')))
        out.append({Kind::OpponentName, message.mid(1)});
    if (Cell::indexOf(message) >= 0)
        out.append({Kind::Move, message});
    return out;
}

} // namespace

QList<WireEffect> WireReceiver::effects(MatchSide side, const QString &message)
{
    return side == MatchSide::Host ? hostEffects(message) : joinEffects(message);
}
