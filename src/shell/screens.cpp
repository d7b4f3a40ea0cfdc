#include "screens.h"

#include "about_screen.h"
#include "advert_screen.h"
#include "login_screen.h"
#include "settings_screen.h"
#include "title_screen.h"

#include "lobby/lobby_screen.h"
#include "match/chat_history.h"
#include "match/host_screen.h"
#include "match/join_screen.h"
#include "match/practice_screen.h"
#include "model/computer_opponent.h"
#include "net/address_class.h"
#include "net/host_address.h"
#include "net/lan_announcer.h"
#include "net/port_mapper.h"
#include "platform/settings.h"

#include <QAbstractSocket>
#include <QApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QHostAddress>
#include <QLineEdit>
#include <QMessageBox>
#include <QSignalBlocker>
#include <QTcpServer>
#include <QTimer>

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
    , m_mapper(new PortMapper(this))
{
    connect(m_mapper, &PortMapper::outcomeChanged, this, &Screens::host_RouterKnown);
    connect(m_mapper, &PortMapper::placeChanged, this, &Screens::host_RouterKnown);
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

SettingsScreen *Screens::settings()
{
    if (!m_settings) {
        m_settings = new SettingsScreen;
        connect(m_settings, &SettingsScreen::saved, this, &Screens::settings_Saved);
    }
    return m_settings;
}

void Screens::showSettings()
{
    SettingsScreen *screen = settings();
    screen->show();
    screen->raise();
    screen->activateWindow();
}

void Screens::settings_Saved()
{
    if (!m_login)
        return;
    // A hosting lobby keeps the registry it published in, so that it withdraws there.
    if (!m_host)
        reloadLobby();
    if (m_login->UN()->text().isEmpty())
        m_login->UN()->setText(Settings::playerName());
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
    // The name follows from startHost, once the screen has it.
    // Made with the first host, not with the title screen: its socket costs the first frame.
    if (!m_announcer)
        m_announcer = new LanAnnouncer(this);
    m_announcer->start(localAddress, Settings::matchPort(), Settings::probePort(), QString());
    m_hostLocal = localAddress;
    m_hostEntry.clear();

    // A loopback host (tests, the demo) has no router to ask, and the player may have
    // switched asking off.
    const QHostAddress local(localAddress);
    // Test labs name the router to ask, "a.b.c.d:port" (its NAT-PMP port).
    const HostAddress named = HostAddress::parse(qEnvironmentVariable("DORVALA_ROUTER"), 5351, 0);
    if (!Settings::mapPorts() || local.protocol() != QAbstractSocket::IPv4Protocol
        || (local.isLoopback() && !named.isValid())) {
        publishHostEntry(localAddress);
        return;
    }
    // The entry waits for the router's answer (3 s at most): an address that nobody can
    // reach is never published as reachable.
    PortMapper::Config config;
    config.localAddress = local;
    config.matchPort = Settings::matchPort();
    config.probePort = Settings::probePort();
    config.publicNets = publicNetsFromEnvironment();
    if (named.isValid()) {
        config.router = QHostAddress(named.ipv4());
        config.natPmpPort = named.matchPort();
    }
    // Test labs shorten the lease to see a renewal within a match.
    bool leaseGiven = false;
    const uint lease = qEnvironmentVariable("DORVALA_ROUTER_LEASE").toUInt(&leaseGiven);
    if (leaseGiven && lease > 0)
        config.leaseSeconds = lease;
    m_mapper->start(config);
    if (m_host)
        m_host->showRouter(*m_mapper);
}

void Screens::host_RouterKnown()
{
    if (!m_host || m_hostLocal.isEmpty())
        return;
    m_host->showRouter(*m_mapper);
    const PortMapper::Outcome outcome = m_mapper->outcome();
    if (outcome == PortMapper::Outcome::Trying || outcome == PortMapper::Outcome::Idle)
        return;
    if (outcome == PortMapper::Outcome::Open) {
        // A router that refused the standard ports maps high stand-ins: listen there too.
        bool listening = true;
        if (m_mapper->localMatchPort() != Settings::matchPort())
            listening = m_host->listenAlso(m_mapper->localMatchPort());
        if (m_mapper->localProbePort() != Settings::probePort())
            listening = WOL()->listenForProbesAlso(m_mapper->localProbePort()) && listening;
        if (listening) {
            const HostAddress open = HostAddress::make(m_mapper->externalAddress(), m_mapper->externalMatchPort(),
                                                       m_mapper->externalProbePort());
            publishHostEntry(open.registryName(Settings::matchPort(), Settings::probePort()));
            // Players behind the same router see which registry entry is this host.
            if (m_announcer)
                m_announcer->setPublicPlace(open.ipv4(), open.matchPort(), open.probePort());
            return;
        }
    }
    if (m_announcer)
        m_announcer->setPublicPlace(0, 0, 0);
    publishHostEntry(m_hostLocal);
}

void Screens::publishHostEntry(const QString &name)
{
    if (name == m_hostEntry)
        return;
    // The host moved (the router restarted and gave other ports): the old name goes.
    if (!m_hostEntry.isEmpty())
        WOL()->withdrawHost(m_hostEntry);
    m_hostEntry = name;
    WOL()->publishHost(name);
}

void Screens::host_Closing(const QString &localAddress)
{
    Q_UNUSED(localAddress);
    if (m_announcer)
        m_announcer->stop();
    // What was published goes (nothing, while the router's answer was still awaited), and
    // so do the router's mappings.
    const QString entry = m_hostEntry;
    m_hostEntry.clear();
    m_hostLocal.clear();
    if (m_ending)
        return;
    m_mapper->stop();
    if (!entry.isEmpty())
        WOL()->withdrawHost(entry);
}

void Screens::waitForRouter(int ms)
{
    const QDeadlineTimer deadline(qMax(0, ms));
    while (m_mapper->removing() && !deadline.hasExpired()) {
        QEventLoop loop;
        QTimer timeout;
        timeout.setSingleShot(true);
        connect(&timeout, &QTimer::timeout, &loop, &QEventLoop::quit);
        connect(m_mapper, &PortMapper::removed, &loop, &QEventLoop::quit);
        timeout.start(int(qMin<qint64>(deadline.remainingTime(), 50)));
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    }
}

QList<QWidget *> Screens::loadedScreens() const
{
    QList<QWidget *> screens;
    for (QWidget *screen : std::initializer_list<QWidget *>{m_openi, m_login, m_abt, m_form1, m_wol, m_host, m_join,
                                                                   m_practice, m_ch, m_settings}) {
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
    if (screen == m_settings) m_settings = nullptr;
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
    if (!m_loginOpening)
        return;
    if (error == 0) {
        m_loginOpening = false;
        if (m_login && !m_quitting)
            m_login->show();
        emit loginOpened(0);
        return;
    }
    // A registry that is configured but out of reach: the player is told, and after the OK
    // the setup screen opens all the same (the LAN and a typed address still work).
    QPointer<Screens> self(this);
    showInternetError(m_openi, [self] {
        if (!self || !self->m_loginOpening)
            return;
        self->m_loginOpening = false;
        if (self->m_login && !self->m_quitting)
            self->m_login->show();
        emit self->loginOpened(0);
    });
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

std::function<void(QWidget *, const QString &, const QString &, std::function<void()>)>
    Screens::criticalBox = [](QWidget *parent, const QString &title, const QString &text,
                              std::function<void()> afterOk) {
        auto *box = new QMessageBox(QMessageBox::Critical, title, text, QMessageBox::Ok, parent);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setWindowModality(Qt::ApplicationModal);
        QObject::connect(box, &QMessageBox::finished, box, [afterOk = std::move(afterOk)] {
            if (afterOk)
                afterOk();
        });
        box->show();
    };

void Screens::showInternetError(QWidget *parent, std::function<void()> afterOk)
{
    criticalBox(parent, QStringLiteral("Internetr Bermasalah!"),
                QStringLiteral("Internet tidak tersambung!\r\n"
                               "Silahkan melakukan koneksi ke Internet terlebih dahulu"),
                std::move(afterOk));
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
    if (m_announcer)
        m_announcer->setName(name);
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
    // DORVALA_COMPUTER_DELAY, else the settings' computer/delay_ms; else the computer's own
    // varied pause.
    if (const int delay = Settings::computerDelayMs(); delay >= 0)
        m_practice->computer()->setDelay(delay);
    wireMatchScreen(m_practice);
    m_practice->setOwnName(name.isEmpty() ? QStringLiteral("Pemain") : name);
    m_practice->Form_Load();
    if (place)
        m_practice->move(position);
    m_practice->show();
}
