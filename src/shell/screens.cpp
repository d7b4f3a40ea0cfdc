#include "screens.h"

#include "about_screen.h"
#include "advert_screen.h"
#include "login_screen.h"
#include "title_screen.h"

#include "lobby/lobby_screen.h"
#include "match/chat_history.h"
#include "match/host_screen.h"
#include "match/join_screen.h"
#include "match/practice_screen.h"

#include <QAbstractSocket>
#include <QApplication>
#include <QLineEdit>
#include <QMessageBox>
#include <QSignalBlocker>
#include <QTcpServer>

namespace {

// An unloaded screen's sockets go at once, not when its deferred deletion comes: a screen
// loaded again right away listens on the same ports. The screen hears nothing of it.
void releaseSockets(QWidget *screen)
{
    for (QTcpServer *server : screen->findChildren<QTcpServer *>())
        server->close();
    for (QAbstractSocket *socket : screen->findChildren<QAbstractSocket *>()) {
        const QSignalBlocker quiet(socket);
        socket->abort();
    }
}

} // namespace

Screens::Screens(QObject *parent)
    : QObject(parent)
{
}

Screens::~Screens()
{
    // The program is ending: screens go without their unload hooks reaching the lobby.
    m_ending = true;
    const QList<QWidget *> screens = loadedScreens();
    for (QWidget *screen : screens)
        screen->disconnect(this);
    for (QWidget *screen : screens)
        delete screen;
}

TitleScreen *Screens::openi()
{
    if (!m_openi) {
        m_openi = new TitleScreen(*this);
        m_openi->Form_Load();
    }
    return m_openi;
}

LoginScreen *Screens::login()
{
    if (!m_login)
        loadLogin();
    return m_login;
}

AboutScreen *Screens::ABt()
{
    if (!m_abt)
        m_abt = new AboutScreen(*this);
    return m_abt;
}

AdvertScreen *Screens::Form1()
{
    if (!m_form1) {
        m_form1 = new AdvertScreen;
        m_form1->Form_Load();
    }
    return m_form1;
}

LobbyScreen *Screens::WOL()
{
    if (!m_wol) {
        m_wol = new LobbyScreen;
        // The lobby fills the setup screen's host list; it never reaches into that screen.
        connect(m_wol, &LobbyScreen::hostListChanged, this, [this](const QStringList &hosts) {
            if (m_login)
                m_login->setHostList(hosts);
        });
        connect(m_wol, &LobbyScreen::pongHeard, this, [this](const QString &address) {
            if (m_login)
                m_login->addHost(address);
        });
        connect(m_wol, &LobbyScreen::listingConnectKnown, this, &Screens::WOL_ListingConnectKnown);
    }
    return m_wol;
}

HostScreen *Screens::host()
{
    if (!m_host) {
        m_host = new HostScreen;
        wireMatchScreen(m_host);
        connect(m_host, &HostScreen::opened, this, &Screens::host_Opened);
        connect(m_host, &HostScreen::closing, this, &Screens::host_Closing);
        m_host->Form_Load();
    }
    return m_host;
}

JoinScreen *Screens::Join()
{
    if (!m_join) {
        const QString address = m_login ? m_login->HIP()->text() : QStringLiteral("127.0.0.1");
        m_join = new JoinScreen(address);
        wireMatchScreen(m_join);
        m_join->Form_Load();
    }
    return m_join;
}

ChatHistory *Screens::CH()
{
    if (!m_ch)
        m_ch = new ChatHistory;
    return m_ch;
}

PracticeScreen *Screens::practice() const
{
    return m_practice;
}

void Screens::wireMatchScreen(MatchScreen *screen)
{
    screen->setChatHistory(CH());
    connect(screen, &MatchScreen::closeRequested, this, [this, screen](QPoint position) {
        LoginScreen *setup = login();
        if (setup) {
            setup->move(position);
            setup->show();
        }
        unload(screen);
    });
    connect(screen, &MatchScreen::closed, this, [this, screen] { unload(screen); });
}

void Screens::host_Opened(const QString &localAddress)
{
    // A fresh lobby lists the registry again and carries the publication.
    LobbyScreen *lobby = reloadLobby();
    lobby->show();
    lobby->hide();
    lobby->publishHost(localAddress);
}

void Screens::host_Closing(const QString &localAddress)
{
    if (!m_ending)
        WOL()->withdrawHost(localAddress);
}

QList<QWidget *> Screens::loadedScreens() const
{
    QList<QWidget *> screens;
    for (QWidget *screen : std::initializer_list<QWidget *>{m_openi, m_login, m_abt, m_form1, m_wol, m_host, m_join, m_practice, m_ch}) {
        if (screen)
            screens.append(screen);
    }
    return screens;
}

bool Screens::isLoaded(const QString &name) const
{
    for (QWidget *screen : loadedScreens()) {
        if (screen->objectName() == name)
            return true;
    }
    return false;
}

void Screens::unload(QWidget *screen)
{
    if (!screen)
        return;
    screen->hide();
    screen->setParent(nullptr);
    // The slot is emptied at once, so the next access makes a fresh screen even before the
    // old one is gone.
    if (screen == m_openi) m_openi = nullptr;
    if (screen == m_login) m_login = nullptr;
    if (screen == m_abt) m_abt = nullptr;
    if (screen == m_form1) m_form1 = nullptr;
    if (screen == m_wol) {
        // A lobby on its way out no longer fills the host list nor reports its listing.
        disconnect(m_wol, nullptr, this, nullptr);
        m_wol = nullptr;
    }
    if (screen == m_host) m_host = nullptr;
    if (screen == m_join) m_join = nullptr;
    if (screen == m_practice) m_practice = nullptr;
    // The deletion waits for the event loop (the screen may be in one of its own handlers
    // right now); what it holds of the network does not.
    releaseSockets(screen);
    screen->deleteLater();
}

void Screens::openLogin()
{
    if (m_loginOpening)
        return;  // a "Mulai" is under way already
    if (m_login) {
        m_login->show();
        emit loginOpened(0);
        return;
    }
    m_loginOpening = true;
    loadLogin();
}

void Screens::loadLogin()
{
    m_login = new LoginScreen(*this);
    m_login->Form_Load();
}

void Screens::WOL_ListingConnectKnown(int error)
{
    if (error != 0)
        unload(m_wol);  // the next "Mulai" tries the registry afresh
    if (!m_loginOpening)
        return;
    m_loginOpening = false;
    if (error != 0)
        unload(m_login);
    else if (m_login && !m_quitting)
        m_login->show();
    emit loginOpened(error);
}

void Screens::showAbout()
{
    AboutScreen *about = ABt();
    about->show();
    about->raise();
    about->activateWindow();
}

void Screens::endProgram()
{
    // No unload handler runs: a host that is still open keeps its registry entry.
    m_ending = true;
    QCoreApplication::exit(0);
}

void Screens::closeAllAndQuit()
{
    m_quitting = true;
    for (QWidget *screen : loadedScreens()) {
        if (screen->isVisible())
            screen->close();
    }
    // A host's withdrawal has started, or waits for its entry's upload to end: the exit
    // waits for both (main), the lobby that carries them staying loaded until then.
    QCoreApplication::exit(0);
}

std::function<void(QWidget *, const QString &, const QString &)> Screens::criticalBox =
    [](QWidget *parent, const QString &title, const QString &text) {
        auto *box = new QMessageBox(QMessageBox::Critical, title, text, QMessageBox::Ok, parent);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setWindowModality(Qt::ApplicationModal);
        box->show();
    };

void Screens::showInternetError(QWidget *parent)
{
    criticalBox(parent, QStringLiteral("Internetr Bermasalah!"),
                QStringLiteral("Internet tidak tersambung!\r\n"
                               "Silahkan melakukan koneksi ke Internet terlebih dahulu"));
}

void Screens::loadLobbyHidden()
{
    WOL()->watchListingConnect(RegistryWaitMs);
}

void Screens::showLobby()
{
    LobbyScreen *lobby = WOL();
    lobby->show();
    lobby->raise();
}

void Screens::reloadLobbyHidden()
{
    reloadLobby();
}

LobbyScreen *Screens::reloadLobby()
{
    unload(m_wol);
    LobbyScreen *lobby = WOL();
    // A "Mulai" that waited for the old lobby's listing learns its answer from the new one.
    if (m_loginOpening)
        lobby->watchListingConnect(RegistryWaitMs);
    return lobby;
}

void Screens::startHost(const QString &name, QPoint position, bool place)
{
    // A quit can come while "Mulai" still waits (for the registry, or on a message box); a
    // host opened after it would publish itself on the way out and stay listed.
    if (m_quitting)
        return;
    HostScreen *screen = host();
    if (place)
        screen->move(position);
    screen->setOwnName(name);
    screen->show();
}

void Screens::startJoin(const QString &name, QPoint position, bool place)
{
    if (m_quitting)
        return;
    JoinScreen *screen = Join();
    if (place)
        screen->move(position);
    screen->setOwnName(name);
    screen->show();
}

void Screens::startPractice(ComputerLevel level, MatchSide side, const QString &name, QPoint position,
                            bool place)
{
    if (m_quitting)
        return;
    unload(m_practice);
    m_practice = new PracticeScreen(level, side);
    wireMatchScreen(m_practice);
    m_practice->setOwnName(name.isEmpty() ? QStringLiteral("Pemain") : name);
    m_practice->Form_Load();
    if (place)
        m_practice->move(position);
    m_practice->show();
}
