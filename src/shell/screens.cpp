#include "screens.h"

#include "about_screen.h"
#include "advert_screen.h"
#include "login_screen.h"
#include "title_screen.h"

#include "lobby/lobby_screen.h"

#include <QApplication>
#include <QMessageBox>

Screens::Screens(QObject *parent)
    : QObject(parent)
{
}

Screens::~Screens()
{
    for (QWidget *screen : loadedScreens())
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
    }
    return m_wol;
}

QList<QWidget *> Screens::loadedScreens() const
{
    QList<QWidget *> screens;
    for (QWidget *screen : std::initializer_list<QWidget *>{m_openi, m_login, m_abt, m_form1, m_wol}) {
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
    if (screen == m_wol) m_wol = nullptr;
    screen->deleteLater();
}

int Screens::openLogin()
{
    const int error = m_login ? 0 : loadLogin();
    if (m_login)
        m_login->show();
    return error;
}

int Screens::loadLogin()
{
    m_login = new LoginScreen(*this);
    const int error = m_login->Form_Load();
    if (error != 0)
        unload(m_login);
    return error;
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
    QCoreApplication::exit(0);
}

void Screens::closeAllAndQuit()
{
    for (QWidget *screen : loadedScreens()) {
        if (screen->isVisible())
            screen->close();
    }
    QCoreApplication::exit(0);
}

std::function<void(QWidget *, const QString &, const QString &)> Screens::criticalBox =
    [](QWidget *parent, const QString &title, const QString &text) {
        QMessageBox box(QMessageBox::Critical, title, text, QMessageBox::Ok, parent);
        box.exec();
    };

void Screens::showInternetError(QWidget *parent)
{
    criticalBox(parent, QStringLiteral("Internetr Bermasalah!"),
                QStringLiteral("Internet tidak tersambung!\r\n"
                               "Silahkan melakukan koneksi ke Internet terlebih dahulu"));
}

int Screens::loadLobbyHidden()
{
    const int error = WOL()->waitForListingConnect(RegistryWaitMs);
    if (error != 0)
        unload(m_wol);  // the next "Mulai" tries the registry afresh
    return error;
}

void Screens::showLobby()
{
    LobbyScreen *lobby = WOL();
    lobby->show();
    lobby->raise();
}

void Screens::reloadLobbyHidden()
{
    unload(m_wol);
    WOL();
}

void Screens::startHost(const QString &name, QPoint position, bool place)
{
    Q_UNUSED(name)
    Q_UNUSED(position)
    Q_UNUSED(place)
}

void Screens::startJoin(const QString &name, const QString &address, QPoint position, bool place)
{
    Q_UNUSED(name)
    Q_UNUSED(address)
    Q_UNUSED(position)
    Q_UNUSED(place)
}
