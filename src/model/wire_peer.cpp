#include "wire_peer.h"

#include "rules/cell.h"
#include "wire/wire_message.h"

WirePeer::WirePeer(MatchSide side, Sender sender, QObject *parent)
    : Opponent(parent)
    , m_side(side)
    , m_send(std::move(sender))
{
}

bool WirePeer::movePlaced(int cell)
{
    // Only moves leave at once: the protocol has no framing, and the opening exchange
    // relies on its messages arriving apart.
    return send(WireMessage::move(Cell::name(cell)), true);
}

bool WirePeer::chatSent(const QString &text)
{
    return send(WireMessage::chat(text));
}

bool WirePeer::totalSent(const QString &total)
{
    return send(WireMessage::score(total));
}

bool WirePeer::nameSent(const QString &name)
{
    return send(m_side == MatchSide::Host ? WireMessage::hostName(name) : WireMessage::joinerName(name));
}

bool WirePeer::restartOrdered()
{
    return send(WireMessage::restart());
}

bool WirePeer::send(const QString &message, bool now)
{
    return m_send && m_send(message, now);
}
