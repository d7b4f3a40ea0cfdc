#pragma once

#include "match/match_screen.h"

class PortMapper;
class QPushButton;

// The match screen `host` of the player who offers a game: it listens on the match port,
// accepts one joiner, answers each Score, plays "O" and first, and may order a restart.
// While it is open the machine is listed in the lobby (through opened and closing).
class HostScreen : public MatchScreen
{
    Q_OBJECT
public:
    explicit HostScreen(QWidget *parent = nullptr);
    ~HostScreen() override;

    // What the home router holds for this host, in words on the status line.
    void showRouter(const PortMapper &mapper);
    // The high local ports a router maps when it refuses the match port itself.
    bool listenAlso(quint16 port);

signals:
    // Load: the lobby reloads and publishes this address.
    void opened(const QString &localAddress);
    // Unload: the lobby withdraws this address.
    void closing(const QString &localAddress);

protected:
    void loadSteps() override;
    void unloadSteps() override;
    void data_Close() override;

private:
    void data_ConnectionRequest();
    void Command3_Click();
    void Command4_Click();

    ClippedLabel *info = nullptr;
    QLabel *Label3 = nullptr;
    QPushButton *Command4 = nullptr;
    QString m_published;
};
