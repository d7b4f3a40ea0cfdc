#include "match_screen.h"

#include "board/board_view.h"
#include "match/chat_history.h"
#include "match/clipped_label.h"
#include "match/match_cues.h"
#include "match/match_socket.h"
#include "match/scoreboard.h"
#include "model/match_model.h"
#include "platform/game_style.h"
#include "platform/picture_store.h"
#include "platform/settings.h"

#include <QCloseEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QTimer>

namespace {

constexpr QSize ScreenSize{640, 480};
// The lower felt panel (x 6..633, y 312..473): the two bubbles side by side at their
// painted size, the chat line under them, the buttons, and a line for the status sentence.
// The right-hand column lines up "Send" with "Close".
constexpr QRect OBubble{18, 321, 230, 64};
constexpr QRect XBubble{256, 321, 230, 64};
// Where a bubble's picture leaves room for text: clear of its rim and its tail.
constexpr QMargins BubbleText{13, 7, 13, 17};
constexpr int ChatRow = 388;
constexpr int ButtonRow = 419;
constexpr int RowHeight = 25;
constexpr int RightColumn = 498;
constexpr int RightWidth = 124;
// Chat lines longer than this are not accepted in the box; the peer may send longer ones.
constexpr int ChatLimit = 200;

QPixmap bubble(const QString &name, const QColor &fill)
{
    const QPixmap stored = PictureStore::picture(name);
    if (!stored.isNull())
        return stored;
    QPixmap drawn(OBubble.size());
    drawn.fill(Qt::transparent);
    QPainter painter(&drawn);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(40, 40, 40), 2));
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(drawn.rect()).adjusted(2, 2, -2, -2), 14, 14);
    return drawn;
}

} // namespace

MatchScreen::MatchScreen(MatchSide side, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_side(side)
    , m_model(new MatchModel(side, this))
    , m_background(PictureStore::picture(QStringLiteral("Match")))
{
    setObjectName(side == MatchSide::Host ? QStringLiteral("host") : QStringLiteral("Join"));
    setWindowTitle(QStringLiteral("Dorvala Online"));
    setFixedSize(ScreenSize);
    setStyleSheet(QStringLiteral("QLabel { color: #f4efe0; }") + Scoreboard::style()
                  + GameStyle::pushButtons() + GameStyle::fields());
    buildControls();
}

MatchScreen::~MatchScreen()
{
    Form_QueryUnload();
}

void MatchScreen::buildControls()
{
    m_view = new BoardView(this);
    m_view->setObjectName(QStringLiteral("boardView"));
    m_view->move(0, 0);
    m_view->setBackground(m_background, m_view->pos());

    using Scoreboard::Mark;
    const bool host = m_side == MatchSide::Host;
    // The own total is WRL and the opponent's WRL2, so which card each goes on depends on
    // the side; the names keep their marks.
    Oname = clippedLabel("Oname", QStringLiteral("Menunggu Koneksi"), Scoreboard::name(m_side, Mark::O));
    Xname = clippedLabel("Xname", QStringLiteral("Menunggu Koneksi"), Scoreboard::name(m_side, Mark::X));
    WRL = clippedLabel("WRL", QStringLiteral("0"), Scoreboard::total(m_side, host ? Mark::O : Mark::X));
    WRL2 = clippedLabel("WRL2", QStringLiteral("0"), Scoreboard::total(m_side, host ? Mark::X : Mark::O));
    WRL->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    WRL2->setAlignment(Qt::AlignRight | Qt::AlignVCenter);

    Label1 = label("Label1", QStringLiteral("GILIRAN:"), Scoreboard::turnCaption());
    GIL = label("GIL", {}, Scoreboard::turnLamp());
    GIL->setScaledContents(true);
    GIL->installEventFilter(this);

    XO = label("XO", QLatin1String(ownMark(m_side)), Scoreboard::ownMark());
    XO->setAlignment(Qt::AlignCenter);
    XO->setToolTip(tr("Tanda kamu"));

    Omsg = label("Omsg", {}, OBubble);
    Omsg->setPixmap(bubble(QStringLiteral("BubbleO"), QColor(0xe8, 0xf4, 0xff)));
    Omsg->setScaledContents(true);
    Omsg->hide();
    Xmsg = label("Xmsg", {}, XBubble);
    Xmsg->setPixmap(bubble(QStringLiteral("BubbleX"), QColor(0xff, 0xf0, 0xe0)));
    Xmsg->setScaledContents(true);
    Xmsg->hide();

    const QRect own = (host ? OBubble : XBubble) - BubbleText;
    const QRect other = (host ? XBubble : OBubble) - BubbleText;
    MOUT = clippedLabel("MOUT", {}, own);
    message = clippedLabel("message", QStringLiteral("Player O Jalan lebih Awal..."), other);
    for (ClippedLabel *text : {MOUT, message}) {
        text->setWordWrap(true);
        text->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
        text->setStyleSheet(QStringLiteral("color: #202020;"));
    }
    // Until a bubble appears behind it, the status line reads on the dark background.
    message->setStyleSheet(QStringLiteral("color: #f4efe0;"));

    OutM = label("OutM", {}, {});
    TM = label("TM", QStringLiteral("0"), {});
    TM2 = label("TM2", QStringLiteral("0"), {});
    for (QLabel *hidden : {OutM, TM, TM2})
        hidden->hide();

    Text1 = new QLineEdit(this);
    Text1->setObjectName(QStringLiteral("Text1"));
    Text1->setGeometry(OBubble.left(), ChatRow, XBubble.right() - OBubble.left() + 1, RowHeight);
    Text1->setMaxLength(ChatLimit);
    connect(Text1, &QLineEdit::returnPressed, this, [this] { Text1_KeyPress(13); });

    Command1 = button("Command1", QStringLiteral("Send"), {RightColumn, ChatRow, RightWidth, RowHeight});
    Command2 = button("Command2", QStringLiteral("Close"), {RightColumn, ButtonRow, RightWidth, RowHeight});
    Command3 = button("Command3", QStringLiteral("Restart"), {OBubble.left(), ButtonRow, 110, RowHeight});
    Command5 = button("Command5", QStringLiteral("Chat History"), {OBubble.left() + 118, ButtonRow, 120, RowHeight});
    Command3->setEnabled(false);
    connect(Command1, &QPushButton::clicked, this, &MatchScreen::Command1_Click);
    connect(Command2, &QPushButton::clicked, this, &MatchScreen::Command2_Click);
    connect(Command5, &QPushButton::clicked, this, &MatchScreen::Command5_Click);

    status = clippedLabel("status", {}, {OBubble.left(), ButtonRow + RowHeight + 4, 468, 15});
    status->setStyleSheet(QStringLiteral("color: #ffb4a0; font-size: 11px;"));

    m_data = new MatchSocket(this);
    connect(m_data, &MatchSocket::dataArrival, this, &MatchScreen::data_DataArrival);
    connect(m_data, &MatchSocket::peerClosed, this, &MatchScreen::data_Close);

    m_cues = new MatchCues(this);
    bindModel();

    // The turn picture and the shown total follow their sources when these change, rather
    // than by polling: an idle match costs nothing.
    Timer5 = new QTimer(this);
    Timer5->setObjectName(QStringLiteral("Timer5"));
    Timer5->setSingleShot(true);
    Timer5->setInterval(host ? 10 : 1);
    connect(Timer5, &QTimer::timeout, this, &MatchScreen::Timer5_Timer);
    Timer6 = new QTimer(this);
    Timer6->setObjectName(QStringLiteral("Timer6"));
    Timer6->setSingleShot(true);
    Timer6->setInterval(0);
    connect(Timer6, &QTimer::timeout, this, &MatchScreen::Timer6_Timer);
    connect(m_model, &MatchModel::ownTotalChanged, Timer6, qOverload<>(&QTimer::start));
    Timer5_Timer();
}

void MatchScreen::bindModel()
{
    // A move leaves before this screen repaints its own board: the peer sees it sooner.
    // Only moves: the protocol has no framing, and the opening exchange relies on its
    // messages arriving apart.
    m_model->setSender([this](const QString &text, bool now) {
        if (!m_data->send(text))
            return false;
        if (now)
            m_data->flush();
        return true;
    });
    m_view->setModel(m_model);
    connect(m_view, &BoardView::pointClicked, m_model, &MatchModel::click);

    auto showNames = [this] {
        Oname->setText(m_model->Oname());
        Xname->setText(m_model->Xname());
    };
    showNames();
    connect(m_model, &MatchModel::namesChanged, this, showNames);
    connect(m_model, &MatchModel::opponentTotalChanged, WRL2, &QLabel::setText);
    connect(m_model, &MatchModel::ownTotalChanged, this, &MatchScreen::keepOwnTotal);
    connect(m_model, &MatchModel::happened, this, [this](GameEvent event) {
        cue(MatchCues::forEvent(event));
    });
    connect(m_model, &MatchModel::chatLogged, this, [this](const QString &line) {
        if (CH)
            CH->append(line);
    });
    connect(m_model, &MatchModel::linkChanged, this, &MatchScreen::showLink);
    showLink();

    const bool host = m_side == MatchSide::Host;
    QLabel *ownBubble = host ? Omsg : Xmsg;
    QLabel *opponentBubble = host ? Xmsg : Omsg;
    Typewriter &in = m_model->incoming();
    connect(&in, &Typewriter::started, this, [this, opponentBubble] {
        // From now on `message` is read on its bubble, no longer on the dark background.
        message->setStyleSheet(QStringLiteral("color: #202020;"));
        opponentBubble->show();
        message->show();
        TM->setText(QStringLiteral("0"));
    });
    connect(&in, &Typewriter::typed, this, [this](const QString &text) {
        TM->setText(QString::number(m_model->incoming().counter()));
        message->setText(text);
    });
    connect(&in, &Typewriter::hidden, this, [this, opponentBubble] {
        opponentBubble->hide();
        message->hide();
    });
    Typewriter &out = m_model->outgoing();
    connect(&out, &Typewriter::started, this, [this, ownBubble] {
        TM2->setText(QStringLiteral("0"));
        OutM->setText(m_model->OutM());
        Text1->clear();
        ownBubble->show();
        MOUT->show();
    });
    connect(&out, &Typewriter::typed, this, [this](const QString &text) {
        TM2->setText(QString::number(m_model->outgoing().counter()));
        MOUT->setText(text);
    });
    connect(&out, &Typewriter::finished, Text1, &QLineEdit::clear);
    connect(&out, &Typewriter::hidden, this, [this, ownBubble] {
        ownBubble->hide();
        MOUT->hide();
    });
}

void MatchScreen::showLink()
{
    // The host's chat and restart wait for a joiner; the joiner may type from the start.
    // Once the peer has gone, nothing more can be said.
    const MatchModel::Link link = m_model->link();
    const bool closed = link == MatchModel::Link::Closed;
    const bool connected = link == MatchModel::Link::Connected;
    Text1->setEnabled(!closed);
    Command1->setEnabled(m_side == MatchSide::Host ? connected : !closed);
    Command3->setEnabled(m_side == MatchSide::Host && connected);
}

void MatchScreen::Form_Load()
{
    if (m_loaded)
        return;
    m_loaded = true;
    loadSteps();
}

void MatchScreen::setOwnName(const QString &name)
{
    m_model->setOwnName(name);
}

void MatchScreen::setChatHistory(ChatHistory *history)
{
    CH = history;
}

void MatchScreen::Form_QueryUnload()
{
    if (m_unloaded)
        return;
    m_unloaded = true;
    if (m_loaded)
        unloadSteps();
    m_data->close();
}

void MatchScreen::loadChatHistory()
{
    // Loaded and kept hidden until "Chat History" asks for it.
    if (CH)
        CH->hide();
}

void MatchScreen::loadCues()
{
    m_cues->load(Settings::programFolder());
}

void MatchScreen::loadScore()
{
    m_scoreFile.load();
    if (!m_scoreFile.notice().isEmpty())
        showStatus(m_scoreFile.notice());
    m_model->setWR(m_scoreFile.text());
}

void MatchScreen::keepOwnTotal(const QString &total)
{
    if (!m_scoreFile.store(total))
        showStatus(m_scoreFile.notice());
}

void MatchScreen::data_DataArrival()
{
    m_model->receive(m_data->receive());
}

void MatchScreen::data_Close()
{
    m_model->peerClosed();
}

void MatchScreen::Command1_Click()
{
    if (Text1->text().isEmpty())
        return;
    if (!m_model->sendChat(Text1->text()))
        showStatus(tr("Belum terhubung: pesan tidak terkirim."));
}

void MatchScreen::Command2_Click()
{
    Form_QueryUnload();
    emit closeRequested(pos());
}

void MatchScreen::Command5_Click()
{
    if (!CH)
        return;
    CH->show();
    CH->raise();
}

void MatchScreen::Text1_KeyPress(int keyAscii)
{
    if (keyAscii == 13)
        Command1_Click();
}

void MatchScreen::Timer5_Timer()
{
    const bool on = GIL->isEnabled();
    QPixmap picture = PictureStore::picture(on ? QStringLiteral("GIL1") : QStringLiteral("GIL2"));
    if (picture.isNull())
        picture = PictureStore::picture(on ? QStringLiteral("O") : QStringLiteral("X"));
    GIL->setPixmap(picture);
}

void MatchScreen::Timer6_Timer()
{
    WRL->setText(m_model->WR());
}

void MatchScreen::cue(const QString &name)
{
    m_cues->sound(name);
    emit cued(name);
}

void MatchScreen::showStatus(const QString &sentence)
{
    status->setText(sentence);
    status->setToolTip(sentence);
    emit statusShown(sentence);
}

QLabel *MatchScreen::label(const char *name, const QString &text, const QRect &geometry)
{
    auto *l = new QLabel(text, this);
    l->setObjectName(QLatin1String(name));
    l->setTextFormat(Qt::PlainText);
    l->setGeometry(geometry);
    return l;
}

ClippedLabel *MatchScreen::clippedLabel(const char *name, const QString &text, const QRect &geometry)
{
    auto *l = new ClippedLabel(text, this);
    l->setObjectName(QLatin1String(name));
    l->setGeometry(geometry);
    return l;
}

QPushButton *MatchScreen::button(const char *name, const QString &caption, const QRect &geometry)
{
    auto *b = new QPushButton(caption, this);
    b->setObjectName(QLatin1String(name));
    b->setGeometry(geometry);
    return b;
}

void MatchScreen::closeEvent(QCloseEvent *event)
{
    Form_QueryUnload();
    event->accept();
    emit closed();
}

void MatchScreen::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    if (!m_background.isNull()) {
        painter.drawPixmap(rect(), m_background);
    } else {
        QLinearGradient sky(0, 0, 0, height());
        sky.setColorAt(0, QColor(0x16, 0x2c, 0x3e));
        sky.setColorAt(1, QColor(0x08, 0x12, 0x1a));
        painter.fillRect(rect(), sky);
    }
    Scoreboard::paint(painter, m_side);
}

bool MatchScreen::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == GIL && event->type() == QEvent::EnabledChange)
        Timer5->start();
    return QWidget::eventFilter(watched, event);
}
