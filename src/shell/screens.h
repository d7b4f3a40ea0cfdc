#pragma once

#include "ai/computer_level.h"
#include "rules/match_side.h"

#include <QList>
#include <QString>

#include <functional>
#include <QObject>
#include <QPoint>
#include <QPointer>

class AboutScreen;
class AdvertScreen;
class ChatHistory;
class HostScreen;
class JoinScreen;
class LanAnnouncer;
class MatchScreen;
class PracticeScreen;
class LobbyScreen;
class LoginScreen;
class SettingsScreen;
class PortMapper;
class TitleScreen;
class QWidget;

// The registry of the program's screens. Each screen exists once: it is created (and its
// load step run) on first access, the same instance is handed out until it is unloaded, and
// the next access after an unload makes a fresh one. Screens reach each other through it.
class Screens : public QObject
{
    Q_OBJECT
public:
    // The one error the title screen reports: the registry could not be reached.
    static constexpr int InternetError = 35754;
    // How long "Mulai" waits to learn whether the registry answers; windows keep repainting.
    static constexpr int RegistryWaitMs = 8000;
    // How long the program's exit waits for registry uploads and deletes to end (a host's
    // withdrawal, and the upload it waits for). A slow real server spends over 2 s on each
    // login (Pure-FTPd with its own accounts hashes the password at length), so a host that
    // quits right after opening needs two logins and their commands: 5 s on a quiet machine,
    // over 7 s on a busy one. A registry out of reach ends the wait sooner, at the connect
    // time-out (5 s); only a server that takes the connection and then says nothing is
    // waited for this long.
    static constexpr int ExitWaitMs = 15000;

    explicit Screens(QObject *parent = nullptr);
    ~Screens() override;

    TitleScreen *openi();
    LoginScreen *login();
    AboutScreen *ABt();
    AdvertScreen *Form1();
    LobbyScreen *WOL();
    HostScreen *host();
    // The join screen reads the address to join from the setup screen's HIP when it loads.
    JoinScreen *Join();
    ChatHistory *CH();
    SettingsScreen *settings();
    // The practice screen that is open, or none: it is made by startPractice alone.
    PracticeScreen *practice() const;

    bool isLoaded(const QString &name) const;
    // Deletes the screen; its close handler does not run.
    void unload(QWidget *screen);
    QList<QWidget *> loadedScreens() const;

    // Title "Mulai": loads the setup screen (which loads the lobby hidden) and shows it once
    // the lobby's listing has reached the registry. Returns at once; loginOpened follows.
    void openLogin();
    // Title "Kreator": loads the about screen, or brings the open one to the front.
    void showAbout();
    // The settings screen, from the title or the setup screen: shown and brought to the front.
    // What it saves takes effect at once: a loaded lobby lists the registry now in force.
    void showSettings();
    // "Keluar": leave the event loop at once, without the screens' close handlers.
    void endProgram();
    // SIGINT/SIGTERM: close every open screen as its title-bar close would, then end; the
    // exit then waits up to ExitWaitMs for a host's registry withdrawal.
    void closeAllAndQuit();

    // The lobby as the setup screen uses it: loaded hidden (its listing's outcome decides
    // a pending openLogin), shown, or unloaded and loaded hidden again.
    void loadLobbyHidden();
    void showLobby();
    void reloadLobbyHidden();
    // The match screens as the setup screen opens them; `place` puts them at `position`.
    // Nothing opens once closeAllAndQuit has run.
    void startHost(const QString &name, QPoint position, bool place);
    void startJoin(const QString &name, QPoint position, bool place);
    // Practice against the computer, the player on `side` (Host: O, first). Nothing of the
    // network is touched. An open practice is closed first, so the choice takes effect.
    void startPractice(ComputerLevel level, MatchSide side, const QString &name, QPoint position,
                       bool place);

    // After the event loop: waits, within `ms`, for the router to answer the removal of a
    // closed host's port mappings.
    void waitForRouter(int ms);

    // The critical-stop message box, shown without waiting for the player's answer;
    // afterOk runs once it is answered. Tests replace it to read what would be shown.
    static void showInternetError(QWidget *parent, std::function<void()> afterOk = {});
    static std::function<void(QWidget *, const QString &title, const QString &text,
                              std::function<void()> afterOk)>
        criticalBox;

signals:
    // The end of openLogin, with the setup screen shown: at once when no registry is
    // configured or it answered, after the player's OK on the message when it is out of
    // reach. A non-zero error is the setup screen's own load failing.
    void loginOpened(int error);

private:
    void loadLogin();
    LobbyScreen *reloadLobby();
    void WOL_ListingConnectKnown(int error);
    void wireMatchScreen(MatchScreen *screen);
    void host_Opened(const QString &localAddress);
    void host_Closing(const QString &localAddress);
    void settings_Saved();
    void host_RouterKnown();
    void publishHostEntry(const QString &name);

    bool m_ending = false;
    bool m_quitting = false;
    bool m_loginOpening = false;  // openLogin waits for the lobby's listing

    // The host's port mappings on the home router, and the registry name it is published
    // under: its local address, or the router's external address (with ports) once open.
    PortMapper *m_mapper;
    QString m_hostEntry;
    QString m_hostLocal;

    QPointer<TitleScreen> m_openi;
    QPointer<LoginScreen> m_login;
    QPointer<AboutScreen> m_abt;
    QPointer<AdvertScreen> m_form1;
    QPointer<LobbyScreen> m_wol;
    QPointer<HostScreen> m_host;
    QPointer<JoinScreen> m_join;
    QPointer<PracticeScreen> m_practice;
    QPointer<ChatHistory> m_ch;
    QPointer<SettingsScreen> m_settings;
    // Announces the open host screen on the LAN; outlives every screen.
    LanAnnouncer *m_announcer = nullptr;  // made with the first host
};
