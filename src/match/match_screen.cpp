#include "match_screen.h"

#include "board/board.h"
#include "board/board_play.h"
#include "board/board_view.h"
#include "match/chat_history.h"
#include "match/clipped_label.h"
#include "match/match_chat.h"
#include "match/match_cues.h"
#include "match/match_socket.h"
#include "match/scoreboard.h"
#include "match/wire_message.h"
#include "match/wire_receiver.h"
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

    BoardPlay::Controls board;
    board.view = m_view;
    board.LastMsg = &LastMsg;
    board.WR = &WR;
    board.WRL2 = WRL2;
    board.Xname = Xname;
    board.Oname = Oname;
    // A move leaves before this screen repaints its own board: the peer sees it sooner.
    // Only moves: the protocol has no framing, and the opening exchange relies on its
    // messages arriving apart.
    board.send = [this](const QString &move) {
        if (send(move))
            m_data->flush();
    };
    board.cue = [this](const QString &name) { cue(name); };
    m_play = new BoardPlay(host ? BoardPlay::Side::Host : BoardPlay::Side::Joiner, board, this);
    connect(m_play, &BoardPlay::scoreFileProblem, this, &MatchScreen::showStatus);

    MatchChat::Controls chat;
    chat.Text1 = Text1;
    chat.OutM = OutM;
    chat.MOUT = MOUT;
    chat.TM2 = TM2;
    chat.message = message;
    chat.TM = TM;
    chat.ownBubble = host ? Omsg : Xmsg;
    chat.opponentBubble = host ? Xmsg : Omsg;
    chat.LastMsg = &LastMsg;
    m_chat = new MatchChat(chat, this);

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
    // A score changes only with a scored pattern, which always rewrites points.
    connect(&m_play->board(), &Board::stateChanged, Timer6, qOverload<>(&QTimer::start));
    Timer5_Timer();
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
    (m_side == MatchSide::Host ? Oname : Xname)->setText(name);
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
    m_play->loadScore();
}

void MatchScreen::data_DataArrival()
{
    LastMsg = m_data->receive();
    const QList<WireEffect> effects = WireReceiver::effects(m_side, LastMsg);
    for (const WireEffect &effect : effects)
        apply(effect);
}

void MatchScreen::apply(const WireEffect &effect)
{
    using Kind = WireEffect::Kind;
    switch (effect.kind) {
    case Kind::OpponentTotal:
        WRL2->setText(effect.text);
        break;
    case Kind::ReplyScore:
        scoreReceived();
        break;
    case Kind::SendScore:
        send(WireMessage::score(WR.text()));
        break;
    case Kind::Restart:
        m_play->restart();
        break;
    case Kind::Chat:
        // From now on `message` is read on its bubble, no longer on the dark background.
        message->setStyleSheet(QStringLiteral("color: #202020;"));
        m_chat->showReceived();
        cue(QStringLiteral("mess"));
        break;
    case Kind::LogChat:
        if (CH)
            CH->append(Xname->text() + QStringLiteral(": ") + effect.text + QStringLiteral("\r\n"));
        break;
    case Kind::OpponentName:
        (m_side == MatchSide::Host ? Xname : Oname)->setText(effect.text);
        break;
    case Kind::Move:
        m_play->receiveMove();
        break;
    }
}

void MatchScreen::data_Close()
{
    showOverlay(QStringLiteral("Koneksi Terputus"));
    Command1->setEnabled(false);
    Text1->setEnabled(false);
}

void MatchScreen::Command1_Click()
{
    if (Text1->text().isEmpty())
        return;
    const QString line = WireMessage::chat(Text1->text());
    if (!send(line)) {
        showStatus(tr("Belum terhubung: pesan tidak terkirim."));
        return;
    }
    if (m_side == MatchSide::Host && CH)
        CH->append(Oname->text() + QStringLiteral(": ") + line.mid(4) + QStringLiteral("\r\n"));
    m_chat->showSent(Text1->text());
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
    WRL->setText(WR.text());
}

bool MatchScreen::send(const QString &message)
{
    // Without a peer the message is dropped: a move or a line has nowhere to go.
    return m_data->send(message);
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
}

void MatchScreen::showOverlay(const QString &sentence)
{
    m_view->trans()->show();
    m_view->infox()->show();
    m_view->infox()->setText(sentence);
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
