#pragma once

#include "support/match_env.h"

#include <QString>

#include <memory>

class ChatHistory;
class HostScreen;
class JoinScreen;
class MatchPeer;
class MatchScreen;
class QWidget;

// A host and a joiner in one process, talking over loopback on a free port, with their
// own drive-C folder. Reading and clicking goes through object names, as a player would.
class MatchFixture
{
public:
    MatchFixture();
    ~MatchFixture();

    MatchEnv env;
    std::unique_ptr<ChatHistory> chat;
    std::unique_ptr<HostScreen> host;
    std::unique_ptr<JoinScreen> join;

    HostScreen *openHost(const QString &name);
    JoinScreen *openJoin(const QString &name, const QString &address = QStringLiteral("127.0.0.1"));
    // Both screens open and the opening exchange done (names and totals on both sides).
    bool startMatch(const QString &hostName, const QString &joinName);
    // Ani's host screen with a bare socket for a joiner, past the host's greeting.
    bool openHostWithPeer(MatchPeer &peer);

    // The text of the label named `name` on `screen`.
    static QString text(const QWidget *screen, const QString &name);
    static bool visible(const QWidget *screen, const QString &name);
    static bool enabled(const QWidget *screen, const QString &name);
    static QString state(const MatchScreen *screen, const QString &cell);
    // Clicks where the point lies on the screen, so an overlay or a locked board stops it.
    static void clickPoint(QWidget *screen, const QString &cell);
    static void click(QWidget *screen, const QString &button);
};
