#include "lobby_screen.h"

#include "host_registry.h"
#include "parse_listing.h"
#include "probe_responder.h"
#include "probe_sender.h"

#include "net/lan_announcement.h"
#include "net/lan_host_list.h"
#include "platform/ftp_transfer.h"
#include "platform/settings.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSet>
#include <QTimer>
#include <QVBoxLayout>

std::function<void(QWidget *, const QString &)> LobbyScreen::plainBox =
    [](QWidget *parent, const QString &text) {
        auto *box = new QMessageBox(QMessageBox::NoIcon, QGuiApplication::applicationDisplayName(),
                                    text, QMessageBox::Ok, parent);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setWindowModality(Qt::ApplicationModal);
        box->show();
    };

LobbyScreen::LobbyScreen(QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_registry(new HostRegistry(this))
    , Label1(new QLabel(QStringLiteral("Nomor IP Yang Sedang Online"), this))
    , lstRemoteFile(new QListWidget(this))
    , m_registryNote(new QLabel(this))
    , STE(new QLabel(QStringLiteral("Label1"), this))
    , ID(new QLineEdit(QStringLiteral("[Nomor IP]"), this))
    , Command2(new QPushButton(QStringLiteral("Simpan"), this))
    , Command1(new QPushButton(QStringLiteral("Hapus"), this))
    , Command4(new QPushButton(QStringLiteral("Refresh"), this))
    , Command3(new QPushButton(QStringLiteral("Command3"), this))
    , Hear(new ProbeResponder(this))
    , PingSy(new ProbeSender(this))
    , lblLan(new QLabel(QStringLiteral("Di jaringan lokal (LAN)"), this))
    , lstLan(new QListWidget(this))
    , m_lan(new LanHostList(this))
    , m_connectDeadline(new QTimer(this))
{
    setObjectName(QStringLiteral("WOL"));
    setWindowTitle(QStringLiteral("Online Host:"));
    Label1->setObjectName(QStringLiteral("Label1"));
    lstRemoteFile->setObjectName(QStringLiteral("lstRemoteFile"));
    STE->setObjectName(QStringLiteral("STE"));
    m_registryNote->setObjectName(QStringLiteral("RegistryNote"));
    m_registryNote->setTextFormat(Qt::PlainText);
    m_registryNote->setWordWrap(true);
    ID->setObjectName(QStringLiteral("ID"));
    Command2->setObjectName(QStringLiteral("Command2"));
    Command1->setObjectName(QStringLiteral("Command1"));
    Command4->setObjectName(QStringLiteral("Command4"));
    Command3->setObjectName(QStringLiteral("Command3"));
    Hear->setObjectName(QStringLiteral("Hear"));
    PingSy->setObjectName(QStringLiteral("PingSy"));
    lblLan->setObjectName(QStringLiteral("lblLan"));
    lstLan->setObjectName(QStringLiteral("lstLan"));

    // Registry names and listing chunks are data, never markup.
    Label1->setTextFormat(Qt::PlainText);
    STE->setTextFormat(Qt::PlainText);
    QFont heading = Label1->font();
    heading.setBold(true);
    Label1->setFont(heading);
    lblLan->setTextFormat(Qt::PlainText);
    lblLan->setFont(heading);
    QFont listFont = lstRemoteFile->font();
    listFont.setPointSizeF(listFont.pointSizeF() * 1.1);
    lstRemoteFile->setFont(listFont);
    lstRemoteFile->setAlternatingRowColors(true);
    lstLan->setFont(listFont);
    lstLan->setAlternatingRowColors(true);
    STE->setFrameShape(QFrame::StyledPanel);
    STE->setMinimumHeight(STE->sizeHint().height() + 6);
    STE->setTextInteractionFlags(Qt::TextSelectableByMouse);
    Command3->setVisible(false);

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(Command2);
    buttons->addWidget(Command1);
    buttons->addWidget(Command4);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(10, 10, 10, 10);
    layout->setSpacing(6);
    layout->addWidget(Label1);
    layout->addWidget(m_registryNote);
    layout->addWidget(lstRemoteFile, 2);
    layout->addWidget(lblLan);
    layout->addWidget(lstLan, 1);
    layout->addWidget(STE);
    layout->addWidget(ID);
    layout->addLayout(buttons);
    layout->addWidget(Command3);
    resize(320, 460);

    connect(m_registry->Inet1(), &FtpTransfer::StateChanged, this,
            &LobbyScreen::Inet1_StateChanged);
    connect(Command1, &QPushButton::clicked, this, &LobbyScreen::Command1_Click);
    connect(Command2, &QPushButton::clicked, this, &LobbyScreen::Command2_Click);
    connect(Command3, &QPushButton::clicked, this, &LobbyScreen::Command3_Click);
    connect(Command4, &QPushButton::clicked, this, &LobbyScreen::Command4_Click);
    connect(lstRemoteFile, &QListWidget::itemClicked, this, &LobbyScreen::lstRemoteFile_Click);
    connect(Hear, &ProbeResponder::pongHeard, this, [this](const QString &address) {
        m_ponged.append(address);
        emit pongHeard(address);
    });
    connect(m_lan, &LanHostList::hostsChanged, this, &LobbyScreen::lan_HostsChanged);
    m_connectDeadline->setSingleShot(true);
    connect(m_connectDeadline, &QTimer::timeout, this, &LobbyScreen::reportListingConnect);

    Form_Load();
}

void LobbyScreen::Form_Load()
{
    m_registry->configure();
    showRegistryNote();
    List();
    // A probe port that cannot be had only means this machine never answers probes.
    Hear->listen(Settings::probePort());
    // Likewise a discovery port that cannot be had only leaves the LAN list empty.
    m_lan->listen(LanAnnouncement::port());
}

void LobbyScreen::publishHost(const QString &address)
{
    Publish(address);
}

void LobbyScreen::withdrawHost(const QString &address)
{
    Withdraw(address);
}

void LobbyScreen::Publish(const QString &address)
{
    if (ID->text() != address)
        ID->setText(address);
    m_registry->Publish(address);
}

void LobbyScreen::Withdraw(const QString &address)
{
    if (ID->text() != address)
        ID->setText(address);
    m_registry->Withdraw(address);
}

void LobbyScreen::showRegistryNote()
{
    // The registry the transfers were just given: the settings are not read twice.
    const RegistryAddress &registry = m_registry->address();
    if (registry.isSet()) {
        m_registryNote->setText(QStringLiteral("Server daftar: %1:%2").arg(registry.host).arg(registry.port));
        return;
    }
    m_registryNote->setText(
        QStringLiteral("Belum ada server daftar tuan rumah. Aturlah di \"Pengaturan\" (di layar "
                       "judul atau layar Login). Tuan rumah di jaringan lokal tetap ditemukan."));
}

void LobbyScreen::List()
{
    m_listingOutcome = ConnectOutcome::Unknown;
    if (!m_registry->configured())
        return;  // nothing to list: no registry is set
    if (!m_registry->List())
        noteListingOutcome(FtpTransfer::Error);
}

QStringList LobbyScreen::listedHosts() const
{
    return m_listed;
}

void LobbyScreen::watchListingConnect(int timeoutMs)
{
    m_watchingConnect = true;
    if (m_listingOutcome != ConnectOutcome::Unknown || !m_registry->Inet1()->StillExecuting())
        m_connectDeadline->start(0);  // known already: reported from the event loop
    else
        m_connectDeadline->start(timeoutMs);
}

void LobbyScreen::reportListingConnect()
{
    if (!m_watchingConnect)
        return;
    m_watchingConnect = false;
    m_connectDeadline->stop();
    int error = 0;
    switch (m_listingOutcome) {
    case ConnectOutcome::Connected:
        break;
    case ConnectOutcome::Failed:
        error = FtpTransfer::UnableToConnect;
        break;
    case ConnectOutcome::Unknown:
        // Still trying after the time given counts as out of reach; a listing that was
        // cancelled or never started has nothing to report.
        if (m_registry->Inet1()->StillExecuting())
            error = FtpTransfer::UnableToConnect;
        break;
    }
    emit listingConnectKnown(error);
}

void LobbyScreen::noteListingOutcome(int state)
{
    if (m_listingOutcome != ConnectOutcome::Unknown)
        return;
    if (state == FtpTransfer::Connected || state == FtpTransfer::ResponseCompleted)
        m_listingOutcome = ConnectOutcome::Connected;
    else if (state == FtpTransfer::Error)
        m_listingOutcome = m_registry->Inet1()->lastError() == FtpTransfer::UnableToConnect
                               ? ConnectOutcome::Failed
                               : ConnectOutcome::Connected;
    else
        return;
    if (m_watchingConnect)
        m_connectDeadline->start(0);
}

void LobbyScreen::Inet1_StateChanged(int state)
{
    noteListingOutcome(state);
    drainListing(QString());
}

// One chunk of the response per turn of the event loop: between chunks any event may come
// first, a click, a further state change (whose drain takes the chunks left), or the
// unloading of this screen (which drops the rest).
void LobbyScreen::drainListing(QString response)
{
    const QString chunk = m_registry->Inet1()->GetChunk(4096);
    if (chunk.isEmpty()) {
        listingDrained(response);
        return;
    }
    response += chunk;
    QMetaObject::invokeMethod(
        this, [this, response = std::move(response)]() mutable { drainListing(std::move(response)); },
        Qt::QueuedConnection);
}

void LobbyScreen::listingDrained(const QString &response)
{
    // The list only grows while the lobby is loaded.
    const QPointer<LobbyScreen> self(this);
    const QStringList lines = ParseListing(response);
    lstRemoteFile->addItems(lines);
    m_listed += lines;
    const QStringList hosts = m_listed;
    m_ponged.clear();
    sendHostList();
    if (!self)
        return;

    // Every entry is probed, and one pass more past the last, with no address.
    QStringList passes = hosts;
    passes.append(QString());
    PingSy->probe(passes, Settings::probePort());
}

void LobbyScreen::Command1_Click()
{
    if (m_registry->deleteBusy()) {
        plainBox(this, QStringLiteral("masih sibuk"));
        return;
    }
    Withdraw(ID->text());
}

void LobbyScreen::Command2_Click()
{
    Publish(ID->text());
}

void LobbyScreen::Command3_Click()
{
    STE->setText(m_registry->Inet1()->GetChunk(4096));
}

void LobbyScreen::Command4_Click()
{
    m_registry->Inet1()->Cancel();
    if (m_watchingConnect)
        m_connectDeadline->start(0);
}

void LobbyScreen::lstRemoteFile_Click()
{
    if (QListWidgetItem *item = lstRemoteFile->currentItem())
        STE->setText(item->text());
}

bool LobbyScreen::listenForProbesAlso(quint16 port)
{
    return Hear->listenAlso(port);
}

QStringList LobbyScreen::lanHosts() const
{
    QStringList entries;
    for (const LanHost &host : m_lan->hosts())
        entries.append(lanHostEntry(host, Settings::matchPort(), Settings::probePort()));
    return entries;
}

void LobbyScreen::lan_HostsChanged()
{
    // List items are plain text: a name is shown as the host sent it, never as markup.
    lstLan->clear();
    const QStringList entries = lanHosts();
    const QList<LanHost> &hosts = m_lan->hosts();
    for (qsizetype i = 0; i < entries.size(); ++i) {
        lstLan->addItem(hosts.at(i).name.isEmpty()
                            ? entries.at(i)
                            : QStringLiteral("%1  (%2)").arg(entries.at(i), hosts.at(i).name));
    }
    sendHostList();
}

// The host list as the setup screen shows it: the registry's entries in listing order, the
// addresses pongs added since, then the LAN's hosts that are not there already. A registry
// entry that a LAN host says is its own public place stands as that host's LAN entry: behind
// the same router, the public address seldom leads back in.
void LobbyScreen::sendHostList()
{
    QStringList hosts = m_listed + m_ponged;
    const quint16 match = Settings::matchPort();
    const quint16 probe = Settings::probePort();
    for (const LanHost &host : m_lan->hosts()) {
        const QString listedAs = lanHostPublicEntry(host, match, probe);
        if (listedAs.isEmpty())
            continue;
        for (QString &entry : hosts) {
            if (entry == listedAs)
                entry = lanHostEntry(host, match, probe);
        }
    }
    QSet<QString> seen(hosts.cbegin(), hosts.cend());
    for (const QString &entry : lanHosts()) {
        if (!seen.contains(entry)) {
            seen.insert(entry);
            hosts.append(entry);
        }
    }
    emit hostListChanged(hosts);
}
