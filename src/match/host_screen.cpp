#include "host_screen.h"

#include "match/clipped_label.h"
#include "match/match_socket.h"
#include "match/router_words.h"
#include "match/scoreboard.h"
#include "model/match_model.h"
#include "platform/settings.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

HostScreen::HostScreen(QWidget *parent)
    : MatchScreen(MatchSide::Host, parent)
{
    // One caption heads both cards here.
    Label3 = label("Label3", QStringLiteral("Total Menang:"),
                   Scoreboard::caption(MatchSide::Host, Scoreboard::Mark::O));

    info = clippedLabel("info", {}, Scoreboard::statusLine());
    info->setAlignment(Qt::AlignCenter);
    Command4 = button("Command4", QStringLiteral("Command4"), {505, 232, 100, 26});
    Command4->hide();
    connect(Command4, &QPushButton::clicked, this, &HostScreen::Command4_Click);
    connect(Command3, &QPushButton::clicked, this, &HostScreen::Command3_Click);

    // "Connect!" stays once a joiner has come, also after it has gone again.
    connect(m_model, &MatchModel::linkChanged, info, [this] { info->setText(QStringLiteral("Connect!")); });
    connect(m_data, &MatchSocket::connectionRequest, this, &HostScreen::data_ConnectionRequest);
}

HostScreen::~HostScreen()
{
    // The base class can no longer reach the host's own unload steps from its destructor.
    Form_QueryUnload();
}

void HostScreen::loadSteps()
{
    const QString address = Settings::localIp();
    m_published = address;
    emit opened(address);
    loadChatHistory();
    loadCues();
    loadScore();
    Timer6_Timer();

    m_data->close();
    setWindowTitle(QStringLiteral("Dorvala Online :: Host IP : ") + address + QStringLiteral(" :: ")
                   + Settings::localHostName());
    if (!m_data->listen(Settings::matchPort())) {
        m_model->cover(m_data->errorText());
        showStatus(tr("Tidak ada yang bisa bergabung. Tutup layar ini dan coba lagi."));
        // Nobody can reach this host, so it must not stay listed.
        emit closing(m_published);
        m_published.clear();
    }
}

void HostScreen::unloadSteps()
{
    if (!m_published.isEmpty())
        emit closing(m_published);
    m_published.clear();
}

void HostScreen::showRouter(const PortMapper &mapper)
{
    showStatus(routerSentence(mapper, Settings::matchPort()));
}

bool HostScreen::listenAlso(quint16 port)
{
    return m_data->listenAlso(port);
}

void HostScreen::data_ConnectionRequest()
{
    if (m_data->accept())
        m_model->accepted();
}

void HostScreen::data_Close()
{
    m_data->close();
    MatchScreen::data_Close();
}

void HostScreen::Command3_Click()
{
    m_model->orderRestart();
}

void HostScreen::Command4_Click()
{
    m_model->showTrans();
}
