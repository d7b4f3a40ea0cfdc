#pragma once

#include "model/game_event.h"
#include "model/typewriter.h"
#include "rules/board.h"
#include "rules/match_side.h"
#include "rules/win_result.h"

#include <QList>
#include <QObject>
#include <QString>

#include <functional>

class Opponent;
class QTimer;

// The state of one match as one screen sees it, and everything the game does to it: the
// nine points, the local mark `XO`, the turn lock, both names, both totals as the text the
// wire carries (`WR` own, `WRL2` the opponent's), `LastMsg`, the two typewriters, the
// cover over the board (`trans`, `infox`), and whether the peer is there. A screen shows
// this and turns clicks and socket events into calls; it keeps nothing of its own.
//
// Every change is announced by a signal. What the local player does reaches the opponent
// (Opponent: the network peer or the computer) in typed calls; what the opponent does comes
// in through receive() (the peer's messages as they arrived) or the typed opponent*() calls.
// What the player should hear comes as a GameEvent.
class MatchModel : public QObject
{
    Q_OBJECT

public:
    enum class Game { Playing, Decided };
    // Host: waiting for a joiner. Joiner: connecting. Then the peer is there, then gone.
    enum class Link { Waiting, Connected, Closed };
    // Sends one wire message; `now` asks for it to leave before the screen repaints. False
    // when there is nobody to send it to.
    using Sender = std::function<bool(const QString &message, bool now)>;

    static constexpr int ScoreReplyDelay = 10;  // `Senddata`
    static constexpr int NameDelay = 1000;      // `SD`

    explicit MatchModel(MatchSide side, QObject *parent = nullptr);

    // The opponent, from now on; the model owns it unless it has a parent already.
    void setOpponent(Opponent *opponent);
    Opponent *opponent() const { return m_opponent; }
    // A network peer (WirePeer) that hands its messages to `sender`.
    void setSender(Sender sender);

    MatchSide side() const { return m_side; }
    Board &board() { return m_board; }
    const Board &board() const { return m_board; }
    const QString &state(int index) const { return m_board.state(index); }
    // "O" on the host, "X" on the joiner, for the whole match.
    const QString &XO() const { return m_XO; }
    // Only for reaching the receiver's other branch; a match never changes its mark.
    void setXO(const QString &mark) { m_XO = mark; }

    // The turn lock: true while the nine points are disabled.
    bool isLocked() const { return m_locked; }
    void LockBoard();
    void UnlockBoard();

    const QString &Oname() const { return m_Oname; }
    const QString &Xname() const { return m_Xname; }
    void setOwnName(const QString &name);
    QString opponentName() const;

    const QString &WR() const { return m_WR; }
    // The total as loaded from the score file; announced like any change.
    void setWR(const QString &total);
    const QString &WRL2() const { return m_WRL2; }

    const QString &LastMsg() const { return m_LastMsg; }

    Typewriter &incoming() { return *m_incoming; }  // the opponent's bubble, from LastMsg
    Typewriter &outgoing() { return *m_outgoing; }  // the own bubble, from OutM
    const QString &OutM() const { return m_OutM; }

    Game game() const { return m_game; }
    Link link() const { return m_link; }
    bool transShown() const { return m_transShown; }
    bool infoxShown() const { return m_infoxShown; }
    const QString &infox() const { return m_infox; }

    // A click on a point. A free point takes the local mark, its name is sent, the board
    // locks and PiecePlaced follows, in that order; any other point gives MoveRefused only.
    void click(int index);
    // The opponent's move, already in LastMsg: the point takes the other mark whatever it
    // held and the board unlocks. False when LastMsg names no point.
    bool receiveMove();
    // One detection tick with its announcements and score changes. It also runs by itself
    // after every change of a point, once the call that made the change has finished.
    QList<WinResult> WinTime_Timer();
    // Clears the nine points and lifts the cover; the turn lock stays as it is.
    void restart();
    // Host: "Restart": orders the joiner to restart, then restarts here.
    void orderRestart();

    // One message from the peer, as it arrived.
    void receive(const QString &message);
    // A chat line typed by the player: sent, logged on the host, typed into the own
    // bubble. False, with nothing else done, when it could not be sent.
    bool sendChat(const QString &text);

    // The opponent's doings, typed, for an opponent that is no wire. Each leaves `LastMsg`
    // as the same message from a peer would, so the screens show the same.
    void opponentMoved(int index);
    void opponentChatted(const QString &text);
    void opponentTotal(const QString &total);
    void opponentNamed(const QString &name);

    // Host: a joiner was accepted. Joiner: the connection is made.
    void accepted();
    void connected();
    // The peer went away.
    void peerClosed();
    // Covers the board with `sentence` over it (a failure to listen or to connect).
    void cover(const QString &sentence);
    // `Command4`: the overlay alone.
    void showTrans();

signals:
    void cellChanged(int index);
    void lockChanged(bool locked);
    void namesChanged();
    void ownTotalChanged(const QString &total);
    void opponentTotalChanged(const QString &total);
    void coverChanged();
    void linkChanged(Link link);
    void happened(GameEvent event);
    // A pattern scored and the game is decided (after its announcements).
    void decided(const WinResult &result);
    // Host: a line for the chat history, CR LF included.
    void chatLogged(const QString &line);

private:
    void chatArrived();
    void scheduleWinCheck();
    void announce(const WinResult &result);
    void setCover(bool trans, bool infox, const QString &text);
    void setLink(Link link);
    void setLocked(bool locked);

    const MatchSide m_side;
    Opponent *m_opponent = nullptr;
    Board m_board;
    QString m_XO;
    bool m_locked = false;
    QString m_Oname = QStringLiteral("Menunggu Koneksi");
    QString m_Xname = QStringLiteral("Menunggu Koneksi");
    QString m_WR = QStringLiteral("0");
    QString m_WRL2 = QStringLiteral("0");
    QString m_LastMsg;
    QString m_OutM;
    Typewriter *m_incoming;
    Typewriter *m_outgoing;
    QTimer *m_Senddata;
    QTimer *m_SD;
    Game m_game = Game::Playing;
    Link m_link = Link::Waiting;
    bool m_transShown = false;
    bool m_infoxShown = false;
    QString m_infox;
    bool m_checkPending = false;
    bool m_ticking = false;
};
