#include "join_screen.h"

#include "match/clipped_label.h"
#include "match/match_socket.h"
#include "match/scoreboard.h"
#include "model/match_model.h"
#include "net/host_address.h"
#include "platform/settings.h"

#include <QLabel>
#include <QTimer>

namespace {
constexpr int ConnectWhenHiddenMs = 150;
}

JoinScreen::JoinScreen(const QString &hostAddress, QWidget *parent)
    : MatchScreen(MatchSide::Join, parent)
    , m_hostAddress(hostAddress)
{
    // Each card has its own caption here.
    Label2 = label("Label2", QStringLiteral("Total Menang:"),
                   Scoreboard::caption(MatchSide::Join, Scoreboard::Mark::O));
    Label5 = label("Label5", QStringLiteral("Total Menang:"),
                   Scoreboard::caption(MatchSide::Join, Scoreboard::Mark::X));

    connect(m_data, &MatchSocket::connected, m_model, &MatchModel::connected);
    connect(m_data, &MatchSocket::failed, this, &JoinScreen::data_Error);
}

JoinScreen::~JoinScreen()
{
    Form_QueryUnload();
}

void JoinScreen::loadSteps()
{
    loadChatHistory();
    loadCues();
    loadScore();
    WRL->setText(m_model->WR());

    m_data->close();
    setWindowTitle(QStringLiteral("Dorvala Online :: CLient IP : ") + Settings::localIp());
    // The host greets at once and answers our total 10 ms later; with nothing marking where
    // one message ends, both would be read as one if they found this screen still busy with
    // its first paint. So the connection starts once the screen has been drawn, or shortly
    // anyway when it is never shown.
    m_connectAfterShow = new QTimer(this);
    m_connectAfterShow->setSingleShot(true);
    connect(m_connectAfterShow, &QTimer::timeout, this, &JoinScreen::connectToHost);
    m_connectAfterShow->start(ConnectWhenHiddenMs);
    m_model->LockBoard();
}

void JoinScreen::paintEvent(QPaintEvent *event)
{
    MatchScreen::paintEvent(event);
    if (m_connectAfterShow && m_connectAfterShow->isActive())
        m_connectAfterShow->start(0);  // after this paint has been flushed
}

void JoinScreen::connectToHost()
{
    if (!m_connectAfterShow)
        return;
    m_connectAfterShow->deleteLater();
    m_connectAfterShow = nullptr;
    // "a.b.c.d:port" and a registry name "a.b.c.d_M_P" carry the match port; anything that
    // is not an address (a host name) goes to the socket as typed, on the standard port.
    const QString typed = m_hostAddress.trimmed();
    const HostAddress host = HostAddress::parse(typed, Settings::matchPort(), Settings::probePort());
    if (host.isValid())
        m_data->connectToHost(host.address(), host.matchPort());
    else
        m_data->connectToHost(m_hostAddress, Settings::matchPort());
}

void JoinScreen::data_Error(const QString &sentence)
{
    // The board stays locked; "Close" leads back to the setup screen.
    m_model->cover(sentence);
}
