#pragma once

#include <QStringList>
#include <QWidget>

#include <functional>

class FtpTransfer;
class HostRegistry;
class LanHostList;
class ProbeResponder;
class ProbeSender;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QTimer;

// The lobby screen `WOL` ("Online Host:"): lists the open games of the registry, hands them
// to the setup screen's host list, publishes or withdraws an address by hand, and runs the
// probe exchange. Loading it (the constructor) configures the three transfers, starts the
// listing and starts the probe responder.
//
// Beside the registry's entries it lists the hosts that announce themselves on this
// machine's LANs (lstLan); the setup screen's host list gets the registry's entries, then
// the LAN's that the registry does not hold.
//
// The lobby knows nothing of the setup screen: hostListChanged means "clear the host list
// and add these, in order", pongHeard means "add this address to the host list".
class LobbyScreen : public QWidget
{
    Q_OBJECT

public:
    explicit LobbyScreen(QWidget *parent = nullptr);

    // Sets `ID` to the address and publishes it (the host match screen opening).
    void publishHost(const QString &address);
    // Sets `ID` to the address and withdraws it, without the busy test (the host match
    // screen closing).
    void withdrawHost(const QString &address);
    // The probe responder listens on this port too (a router's high stand-in).
    bool listenForProbesAlso(quint16 port);

    // `Publish` and `Withdraw` of the registry, carried by `ID`: the address is put into
    // `ID` first (a no-op when it came from there).
    void Publish(const QString &address);
    void Withdraw(const QString &address);
    void List();

    // Reports once, through listingConnectKnown and never from inside this call, whether
    // the listing under way reached the registry: 35754 when it could not connect (also
    // when that is not known within timeoutMs), else 0 (a cancelled listing included).
    void watchListingConnect(int timeoutMs);

    HostRegistry *registry() const { return m_registry; }
    // The entries of `lstRemoteFile`, in order.
    QStringList listedHosts() const;
    // The LAN's hosts as the host list shows them, in the order first heard.
    QStringList lanHosts() const;
    LanHostList *lan() const { return m_lan; }

    // The plain OK box (default title) of "Hapus" while a delete is under way, shown
    // without waiting for it; tests replace it to read what would be shown.
    static std::function<void(QWidget *parent, const QString &text)> plainBox;

signals:
    void hostListChanged(const QStringList &hosts);
    void pongHeard(const QString &address);
    void listingConnectKnown(int error);

private:
    enum class ConnectOutcome { Unknown, Connected, Failed };

    void Form_Load();
    void showRegistryNote();
    void Inet1_StateChanged(int state);
    void drainListing(QString response);
    void listingDrained(const QString &response);
    void Command1_Click();
    void Command2_Click();
    void Command3_Click();
    void Command4_Click();
    void lstRemoteFile_Click();
    void noteListingOutcome(int state);
    void reportListingConnect();
    void lan_HostsChanged();
    void sendHostList();

    HostRegistry *m_registry;
    QLabel *Label1;
    QListWidget *lstRemoteFile;
    QLabel *m_registryNote;  // which registry is listed, or that none is set
    QLabel *STE;
    QLineEdit *ID;
    QPushButton *Command2;
    QPushButton *Command1;
    QPushButton *Command4;
    QPushButton *Command3;
    ProbeResponder *Hear;
    ProbeSender *PingSy;
    QLabel *lblLan;
    QListWidget *lstLan;
    LanHostList *m_lan;

    QStringList m_listed;  // the entries of lstRemoteFile, in order
    QStringList m_ponged;  // addresses a pong added to the host list since the last listing
    ConnectOutcome m_listingOutcome = ConnectOutcome::Unknown;
    QTimer *m_connectDeadline;
    bool m_watchingConnect = false;
};
