#pragma once

#include "model/opponent.h"
#include "rules/match_side.h"

#include <functional>

// The opponent on the other end of the match connection: each call becomes the wire
// message, in the form the socket has always carried (WireMessage), handed to the sender. What arrives from
// the peer is read by MatchModel::receive, which keeps the protocol's one-string receipt.
class WirePeer : public Opponent
{
    Q_OBJECT
public:
    // Sends one message; `now` asks for it to leave before the screen repaints. False when
    // there is nobody to send it to.
    using Sender = std::function<bool(const QString &message, bool now)>;

    WirePeer(MatchSide side, Sender sender, QObject *parent = nullptr);

    bool movePlaced(int cell) override;
    bool chatSent(const QString &text) override;
    bool totalSent(const QString &total) override;
    bool nameSent(const QString &name) override;
    bool restartOrdered() override;

private:
    bool send(const QString &message, bool now = false);

    const MatchSide m_side;
    Sender m_send;
};
