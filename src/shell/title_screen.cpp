#include "title_screen.h"

#include "image_button.h"
#include "screens.h"

#include "platform/game_style.h"
#include "platform/picture_store.h"
#include "platform/settings.h"
#include "platform/web_view.h"

#include <QEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QTimer>
#include <QUrl>

namespace {

QLabel *picture(QWidget *parent, const QString &name, const QString &pictureName, const QRect &at)
{
    auto *label = new QLabel(parent);
    label->setObjectName(name);
    label->setGeometry(at);
    label->setScaledContents(true);
    label->setPixmap(PictureStore::picture(pictureName));
    return label;
}

QLabel *text(QWidget *parent, const QString &name, const QString &caption, const QRect &at,
             const QString &style)
{
    auto *label = new QLabel(caption, parent);
    label->setObjectName(name);
    label->setGeometry(at);
    label->setStyleSheet(style);
    return label;
}

} // namespace

TitleScreen::TitleScreen(Screens &screens)
    : m_screens(screens)
    , m_timer1(new QTimer(this))
{
    setObjectName(QStringLiteral("openi"));
    setWindowTitle(QStringLiteral("Dorvala Online"));
    setFixedSize(640, 420);
    setMouseTracking(true);

    // The background is decoded when the splash uncovers it (Timer1_Timer): the first frame
    // shows only the splash, and a quick start never needs it.
    m_back = new QLabel(this);
    m_back->setObjectName(QStringLiteral("Back"));
    m_back->setGeometry(rect());
    m_back->setScaledContents(true);
    m_back->setAttribute(Qt::WA_TransparentForMouseEvents);
    picture(this, QStringLiteral("Image1"), QStringLiteral("Deco1"), {24, 24, 96, 96});
    picture(this, QStringLiteral("Image2"), QStringLiteral("Deco2"), {520, 24, 96, 96});

    const QString shade = QStringLiteral("color: #f4ead5; background: transparent;");
    text(this, QStringLiteral("Label2"), QStringLiteral("Pobrek Online Games"), {136, 84, 368, 28},
         shade + QStringLiteral("font-size: 18px; font-weight: bold; letter-spacing: 2px;"))
        ->setAlignment(Qt::AlignCenter);
    text(this, QStringLiteral("Label3"), QStringLiteral("Versi 1.0"), {136, 112, 368, 20},
         shade + QStringLiteral("font-size: 13px;"))
        ->setAlignment(Qt::AlignCenter);
    m_label1 = text(this, QStringLiteral("Label1"), description(), {28, 150, 300, 190},
                    shade + QStringLiteral("font-size: 13px;"));
    m_label1->setWordWrap(true);
    m_label1->setAlignment(Qt::AlignLeft | Qt::AlignTop);

    m_play = new ImageButton(QStringLiteral("T1"), QStringLiteral("Play"), QStringLiteral("Mulai"),
                             {20, 360, 100, 41}, this);
    m_about = new ImageButton(QStringLiteral("T3"), QStringLiteral("About"),
                              QStringLiteral("Kreator"), {124, 360, 100, 41}, this);
    m_quit = new ImageButton(QStringLiteral("T2"), QStringLiteral("Quit"), QStringLiteral("Keluar"),
                             {228, 360, 100, 41}, this);
    connect(m_play, &ImageButton::clicked, this, &TitleScreen::Play_Click);
    connect(m_about, &ImageButton::clicked, this, &TitleScreen::About_Click);
    connect(m_quit, &ImageButton::clicked, this, &TitleScreen::Quit_Click);

    m_dk = picture(this, QStringLiteral("DK"), QStringLiteral("DK"), rect());
    m_dk->raise();
    // The splash paints every pixel: nothing under it is painted while it shows.
    m_dk->setAttribute(Qt::WA_OpaquePaintEvent);
    m_dk->installEventFilter(this);

    m_timer1->setObjectName(QStringLiteral("Timer1"));
    m_timer1->setInterval(4000);
    connect(m_timer1, &QTimer::timeout, this, &TitleScreen::Timer1_Timer);
    m_timer1->start();
}

void TitleScreen::Form_Load()
{
    m_loaded = true;
}

// The maker page comes a moment after the splash has been drawn, and at the latest when the
// splash goes: nobody sees it under the splash, and a text browser with its page costs the
// first frame some 8 ms and 4 MB.
void TitleScreen::openMakerPage()
{
    if (m_wb || !m_loaded)
        return;
    m_wb = new WebView(this);
    m_wb->setObjectName(QStringLiteral("WB"));
    m_wb->setGeometry(360, 150, 256, 240);
    m_wb->stackUnder(m_dk);
    m_wb->show();
    m_wb->navigate(QUrl(Settings::makerUrl()));

    // The settings' own small control, beside the three buttons, made with the page so that
    // it costs the first frame nothing.
    m_settings = new QPushButton(QStringLiteral("\u2699 Pengaturan"), this);
    m_settings->setObjectName(QStringLiteral("Settings"));
    m_settings->setGeometry(526, 3, 108, 20);
    m_settings->setStyleSheet(GameStyle::pushButtons());
    m_settings->setCursor(Qt::PointingHandCursor);
    m_settings->stackUnder(m_dk);
    m_settings->show();
    connect(m_settings, &QPushButton::clicked, &m_screens, &Screens::showSettings);
}

bool TitleScreen::eventFilter(QObject *watched, QEvent *event)
{
    // Not at once: the first frame is still on its way through the X server, which shares
    // the cores with us, and the page (fonts loaded, text laid out: some 15 ms of CPU) would
    // hold it back. Under the splash nobody sees the page before Timer1 anyway.
    if (watched == m_dk && event->type() == QEvent::Paint && !m_wb && !m_makerPageDue) {
        m_makerPageDue = true;
        QTimer::singleShot(MakerPageDelayMs, this, &TitleScreen::openMakerPage);
    }
    return QWidget::eventFilter(watched, event);
}

void TitleScreen::Timer1_Timer()
{
    openMakerPage();
    if (m_back->pixmap().isNull())
        m_back->setPixmap(PictureStore::picture(QStringLiteral("TitleBack")));
    m_dk->setVisible(false);
    m_timer1->stop();  // interval 0: the splash goes away exactly once
}

void TitleScreen::mouseMoveEvent(QMouseEvent *event)
{
    for (ImageButton *button : {m_play, m_quit, m_about})
        button->setFace(ImageButton::Face::Normal);
    QWidget::mouseMoveEvent(event);
}

void TitleScreen::Play_Click()
{
    // Opening the setup screen also loads the lobby, whose first listing may fail to reach
    // the registry; the answer comes later, and this screen keeps running meanwhile.
    if (m_playing)
        return;
    m_playing = true;
    connect(&m_screens, &Screens::loginOpened, this, &TitleScreen::Play_Done,
            Qt::SingleShotConnection);
    m_screens.openLogin();
}

void TitleScreen::Play_Done(int error)
{
    // The setup screen is open (a registry out of reach has been reported on the way); a
    // setup screen that failed its own load leaves the title screen for another try.
    m_playing = false;
    if (error == 0)
        m_screens.unload(this);
}

void TitleScreen::About_Click()
{
    m_screens.showAbout();
    m_label1->setText(credits());
}

void TitleScreen::Quit_Click()
{
    m_screens.endProgram();
}

ImageButton *TitleScreen::button(const QString &zoneName) const
{
    for (ImageButton *button : {m_play, m_quit, m_about}) {
        if (button->objectName() == zoneName)
            return button;
    }
    return nullptr;
}

QLabel *TitleScreen::label(const QString &name) const
{
    return findChild<QLabel *>(name);
}

bool TitleScreen::splashVisible() const
{
    return m_dk->isVisibleTo(this);
}

QString TitleScreen::description()
{
    return QStringLiteral(
        "Game ini adalah game duel antar pemain Dorvala diseluruh dunia. "
        "Dorvala Online mempertemukan dua pemain di papan sembilan titik: "
        "susun tiga batu segaris, atau bentuk tanda tambah untuk skor tiga kali lipat. "
        "Dibuat oleh Pobrek Online Games.\n\n"
        "Untuk memulai permainan silahkan klik Mulai.\n\n"
        "pobrek.example/dorvala");
}

QString TitleScreen::credits()
{
    return QStringLiteral(
        "Dorvala Online 1.0 dibuat oleh Tim Dorvala untuk Pobrek Online Games: "
        "desain, program, gambar dan suara. Terima kasih sudah bermain!");
}
