#pragma once

#include "match/match_screen.h"

// The match screen `Join` of the player who joins a host by its address: it connects
// without blocking, sends its total at once and its name a second later, plays "X" and
// second. Only the host orders restarts, so "Restart" stays disabled here.
class JoinScreen : public MatchScreen
{
    Q_OBJECT
public:
    explicit JoinScreen(const QString &hostAddress, QWidget *parent = nullptr);
    ~JoinScreen() override;

    // The address typed on the setup screen; read by the load step.
    void setHostAddress(const QString &address) { m_hostAddress = address; }
    const QString &hostAddress() const { return m_hostAddress; }

protected:
    void loadSteps() override;
    void paintEvent(QPaintEvent *event) override;

private:
    void connectToHost();
    void data_Error(const QString &sentence);

    QLabel *Label2 = nullptr;
    QLabel *Label5 = nullptr;
    QTimer *m_connectAfterShow = nullptr;
    QString m_hostAddress;
};
