#pragma once

#include <QStringList>
#include <QWidget>

#include <functional>

class FtpTransfer;
class HostRegistry;
class ProbeResponder;
class ProbeSender;
class QEventLoop;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

// The lobby screen `WOL` ("Online Host:"): lists the open games of the registry, hands them
// to the setup screen's host list, publishes or withdraws an address by hand, and runs the
// probe exchange. Loading it (the constructor) configures the three transfers, starts the
// listing and starts the probe responder.
//
// The lobby knows nothing of the setup screen: hostListChanged means "clear the host list
// and add these, in order", pongHeard means "add this address to the host list".
class LobbyScreen : public QWidget
{
    Q_OBJECT

public:
    explicit LobbyScreen(QWidget *parent = nullptr);
    ~LobbyScreen() override;

    // Sets `ID` to the address and publishes it (the host match screen opening).
    void publishHost(const QString &address);
    // Sets `ID` to the address and withdraws it, without the busy test (the host match
    // screen closing).
    void withdrawHost(const QString &address);

    // `Publish` and `Withdraw` of the registry, carried by `ID`: the address is put into
    // `ID` first (a no-op when it came from there).
    void Publish(const QString &address);
    void Withdraw(const QString &address);
    void List();

    // Runs the event loop (windows keep repainting) until the first listing has reached the
    // server or failed to. Returns 35754 when it could not connect (also when that is not
    // known within timeoutMs), else 0.
    int waitForListingConnect(int timeoutMs);

    HostRegistry *registry() const { return m_registry; }
    // The entries of `lstRemoteFile`, in order.
    QStringList listedHosts() const;

    // The plain OK box (default title) of "Hapus" while a delete is under way; tests
    // replace it to read what would be shown.
    static std::function<void(QWidget *parent, const QString &text)> plainBox;

signals:
    void hostListChanged(const QStringList &hosts);
    void pongHeard(const QString &address);

private:
    enum class ConnectOutcome { Unknown, Connected, Failed };

    void Form_Load();
    void Inet1_StateChanged(int state);
    void Command1_Click();
    void Command2_Click();
    void Command3_Click();
    void Command4_Click();
    void lstRemoteFile_Click();
    void noteListingOutcome(int state);

    HostRegistry *m_registry;
    QLabel *Label1;
    QListWidget *lstRemoteFile;
    QLabel *STE;
    QLineEdit *ID;
    QPushButton *Command2;
    QPushButton *Command1;
    QPushButton *Command4;
    QPushButton *Command3;
    ProbeResponder *Hear;
    ProbeSender *PingSy;

    QStringList m_listed;  // the entries of lstRemoteFile, in order
    ConnectOutcome m_listingOutcome = ConnectOutcome::Unknown;
    QEventLoop *m_connectWait = nullptr;
};
