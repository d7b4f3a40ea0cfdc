#include "login_screen.h"

#include "image_button.h"
#include "screens.h"

#include "platform/game_style.h"
#include "platform/picture_store.h"
#include "platform/rtf_document.h"
#include "platform/settings.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QTimer>

namespace {

const char *const kText = "color: #f4ead5; background: transparent; font-size: 12px;";
const char *const kAdvice = "color: #b9cfc9; background: transparent; font-size: 11px;"
                            " font-style: italic;";

// The painted background is drawn for this grid: a field column beside the labels, four
// choice columns across the felt (the practice one with its level under it), and the image
// buttons under the first three.
constexpr int LabelX = 24;
constexpr int FieldX = 170;
constexpr int FieldWidth = 160;
constexpr int RowHeight = 24;
constexpr int ButtonXs[] = {27, 180, 333};
constexpr int ChoiceXs[] = {26, 138, 250, 362};
constexpr QSize ChoiceSize{96, 72};
constexpr int ChoiceY = 86;
constexpr int CaptionWidth = 110;
const char *const kChoiceCaption = "color: #f4ead5; background: transparent; font-size: 11px;";

QLabel *caption(QWidget *parent, const QString &name, const QString &text, const QRect &at)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(name);
    label->setGeometry(at);
    label->setStyleSheet(QLatin1String(kText));
    return label;
}

QLineEdit *box(QWidget *parent, const QString &name, const QString &text, const QRect &at)
{
    auto *edit = new QLineEdit(text, parent);
    edit->setObjectName(name);
    edit->setGeometry(at);
    return edit;
}

QPushButton *pushButton(QWidget *parent, const QString &name, const QString &text, const QRect &at)
{
    auto *push = new QPushButton(text, parent);
    push->setObjectName(name);
    push->setGeometry(at);
    return push;
}

// A clickable picture of the setup screen (host, join, lobby).
class ChoiceImage : public QLabel
{
public:
    using QLabel::QLabel;
    std::function<void()> onClick;

protected:
    void mouseReleaseEvent(QMouseEvent *event) override
    {
        if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint())
            && onClick)
            onClick();
    }
};

} // namespace

LoginScreen::LoginScreen(Screens &screens)
    : m_screens(screens)
{
    setObjectName(QStringLiteral("login"));
    setWindowTitle(QStringLiteral("Login Dorvala Online 1.0"));
    setFixedSize(480, 400);
    setMouseTracking(true);

    m_back = new QLabel(this);
    m_back->setGeometry(rect());
    m_back->setAttribute(Qt::WA_TransparentForMouseEvents);

    setStyleSheet(GameStyle::fields() + GameStyle::pushButtons());

    caption(this, QStringLiteral("Label1"), QStringLiteral("Nama Pemain:"),
            {LabelX, 56, 140, RowHeight});
    m_un = box(this, QStringLiteral("UN"), QString(), {FieldX, 56, FieldWidth, RowHeight});
    caption(this, QStringLiteral("Label7"), QStringLiteral(" *7 karakter"),
            {FieldX + FieldWidth + 4, 56, 120, RowHeight})
        ->setStyleSheet(QLatin1String(kAdvice));
    m_hostT = box(this, QStringLiteral("hostT"), QStringLiteral("1"), {0, 0, 10, 10});
    m_hostT->hide();

    m_image1 = choice(QStringLiteral("Image1"), QStringLiteral("HostPick"),
                      QStringLiteral("Jadi Tuan Rumah"), ChoiceXs[0]);
    m_image2 = choice(QStringLiteral("Image2"), QStringLiteral("JoinPick"),
                      QStringLiteral("Gabung Permainan"), ChoiceXs[1]);
    m_image3 = choice(QStringLiteral("Image3"), QStringLiteral("Lobby"),
                      QStringLiteral("Cari Lawan Online"), ChoiceXs[2]);
    m_image4 = choice(QStringLiteral("Image4"), QStringLiteral("Practice"),
                      QStringLiteral("Lawan Komputer"), ChoiceXs[3]);
    m_level = new QComboBox(this);
    m_level->setObjectName(QStringLiteral("Level"));
    m_level->setToolTip(QStringLiteral("Tingkat komputer"));
    for (ComputerLevel level : {ComputerLevel::Mudah, ComputerLevel::Sedang, ComputerLevel::Sempurna})
        m_level->addItem(ComputerLevels::title(level), int(level));
    m_level->setCurrentIndex(1);
    m_level->setGeometry(ChoiceXs[3] + (ChoiceSize.width() - CaptionWidth) / 2,
                         ChoiceY + ChoiceSize.height() + 26, CaptionWidth, 22);
    m_shape1 = new QFrame(this);
    m_shape1->setObjectName(QStringLiteral("Shape1"));
    m_shape1->setStyleSheet(QStringLiteral("border: 3px solid #ffd75e; border-radius: 8px;"
                                           "background: transparent;"));
    m_shape1->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_shape1->resize(ChoiceSize + QSize(8, 8));
    moveMarkerTo(m_image1);

    // The option buttons sit on the rows of the two boxes they switch.
    caption(this, QStringLiteral("Label5"), QStringLiteral("Nama/IP Tuan Rumah:"),
            {LabelX, 228, 144, RowHeight});
    m_ho = new QComboBox(this);
    m_ho->setObjectName(QStringLiteral("HO"));
    m_ho->setGeometry(FieldX, 228, FieldWidth, RowHeight);
    caption(this, QStringLiteral("Label6"), QStringLiteral("Host IP:"), {LabelX, 256, 144, RowHeight});
    m_hip = box(this, QStringLiteral("HIP"), QStringLiteral("127.0.0.1"),
                {FieldX, 256, FieldWidth, RowHeight});
    caption(this, QStringLiteral("Label4"), QStringLiteral("IP Anda:"), {LabelX, 284, 144, RowHeight});
    m_mip = box(this, QStringLiteral("MIP"), QStringLiteral("RichTextBox1"),
                {FieldX, 284, FieldWidth, RowHeight});

    m_option1 = new QRadioButton(QStringLiteral("Host Game"), this);
    m_option1->setObjectName(QStringLiteral("Option1"));
    m_option1->setGeometry(348, 228, 110, RowHeight);
    m_option1->setChecked(true);
    m_option2 = new QRadioButton(QStringLiteral("Join Game"), this);
    m_option2->setObjectName(QStringLiteral("Option2"));
    m_option2->setGeometry(348, 256, 110, RowHeight);
    // Which mark the player takes against the computer: O opens the game.
    m_mark = new QComboBox(this);
    m_mark->setObjectName(QStringLiteral("Mark"));
    m_mark->addItem(QStringLiteral("Main O"), QStringLiteral("O"));
    m_mark->addItem(QStringLiteral("Main X"), QStringLiteral("X"));
    m_mark->setToolTip(QStringLiteral("Melawan komputer: O jalan duluan"));
    m_mark->setGeometry(348, 284, 110, RowHeight);
    for (QRadioButton *option : {m_option1, m_option2})
        option->setStyleSheet(GameStyle::optionButtons());
    connect(m_option1, &QRadioButton::clicked, this, &LoginScreen::Option1_Click);
    connect(m_option2, &QRadioButton::clicked, this, &LoginScreen::Option2_Click);

    connect(pushButton(this, QStringLiteral("Command1"), QStringLiteral("Play"), {FieldX, 314, 92, 24}),
            &QPushButton::clicked, this, &LoginScreen::Command1_Click);
    connect(pushButton(this, QStringLiteral("Command2"), QStringLiteral("Close"), {268, 314, 92, 24}),
            &QPushButton::clicked, this, &LoginScreen::About_Click);
    pushButton(this, QStringLiteral("Command3"), QStringLiteral("Who Online"), {366, 314, 92, 24});
    connect(pushButton(this, QStringLiteral("Settings"), QStringLiteral("Pengaturan"),
                       {LabelX, 314, 120, 24}),
            &QPushButton::clicked, &m_screens, &Screens::showSettings);

    m_play = new ImageButton(QStringLiteral("T1"), QStringLiteral("Play"), QStringLiteral("Mulai"),
                             {ButtonXs[0], 353, 121, 41}, this);
    m_quit = new ImageButton(QStringLiteral("T2"), QStringLiteral("Quit"),
                             QStringLiteral("Cari TR"), {ButtonXs[1], 353, 121, 41}, this);
    m_about = new ImageButton(QStringLiteral("T3"), QStringLiteral("About"),
                              QStringLiteral("Keluar"), {ButtonXs[2], 353, 121, 41}, this);
    connect(m_play, &ImageButton::clicked, this, &LoginScreen::Play_Click);
    connect(m_quit, &ImageButton::clicked, this, &LoginScreen::Quit_Click);
    connect(m_about, &ImageButton::clicked, this, &LoginScreen::About_Click);

    // Controls kept from the design that no code of this screen drives.
    m_text1 = box(this, QStringLiteral("Text1"), QStringLiteral("Text1"), {0, 0, 10, 10});
    m_text1->hide();
    m_timer1 = new QTimer(this);
    m_timer1->setObjectName(QStringLiteral("Timer1"));
}

QLabel *LoginScreen::choice(const QString &name, const QString &picture, const QString &text, int x)
{
    auto *image = new ChoiceImage(this);
    image->setObjectName(name);
    image->setGeometry(QRect(QPoint(x, ChoiceY), ChoiceSize));
    image->setScaledContents(true);
    image->setPixmap(PictureStore::picture(picture));
    image->setCursor(Qt::PointingHandCursor);
    if (name == QLatin1String("Image1"))
        image->onClick = [this] { Image1_Click(); };
    else if (name == QLatin1String("Image2"))
        image->onClick = [this] { Image2_Click(); };
    else if (name == QLatin1String("Image3"))
        image->onClick = [this] { Image3_Click(); };
    else
        image->onClick = [this] { Image4_Click(); };
    auto *label = caption(this, name + QStringLiteral("Caption"), text,
                          {x + (ChoiceSize.width() - CaptionWidth) / 2, ChoiceY + ChoiceSize.height() + 7,
                           CaptionWidth, 16});
    label->setStyleSheet(QLatin1String(kChoiceCaption));
    label->setAlignment(Qt::AlignCenter);
    return image;
}

void LoginScreen::Form_Load()
{
    m_screens.loadLobbyHidden();
    m_mip->setText(Settings::localIp());
    m_un->setText(Settings::playerName());
}

void LoginScreen::moveMarkerTo(QWidget *image)
{
    m_shape1->move(image->pos() - QPoint(4, 4));
}

void LoginScreen::Image1_Click()
{
    m_practice = false;
    m_hostT->setText(QStringLiteral("1"));
    m_ho->setEnabled(false);
    moveMarkerTo(m_image1);
}

void LoginScreen::Image2_Click()
{
    m_practice = false;
    m_hostT->setText(QStringLiteral("0"));
    m_ho->setEnabled(true);
    moveMarkerTo(m_image2);
}

void LoginScreen::Image3_Click()
{
    m_screens.showLobby();
}

void LoginScreen::Image4_Click()
{
    // The host/join flag stays as it is: practice is a mode of its own beside it.
    m_practice = true;
    moveMarkerTo(m_image4);
}

ComputerLevel LoginScreen::level() const
{
    return ComputerLevel(m_level->currentData().toInt());
}

MatchSide LoginScreen::practiceSide() const
{
    return m_mark->currentData().toString() == QLatin1String("X") ? MatchSide::Join : MatchSide::Host;
}

void LoginScreen::Option1_Click()
{
    m_ho->setEnabled(false);
    m_hip->setEnabled(false);
}

void LoginScreen::Option2_Click()
{
    m_ho->setEnabled(true);
    m_hip->setEnabled(true);
}

QString LoginScreen::playerFile(const QString &name)
{
    return Settings::cFile(QStringLiteral("C:/-") + name);
}

void LoginScreen::showEvent(QShowEvent *event)
{
    if (m_back->pixmap().isNull())
        m_back->setPixmap(PictureStore::picture(QStringLiteral("LoginBack")));
    QWidget::showEvent(event);
}

void LoginScreen::hideEvent(QHideEvent *event)
{
    m_back->clear();
    QWidget::hideEvent(event);
}

void LoginScreen::Play_Click()
{
    if (m_practice) {
        hide();
        m_screens.startPractice(level(), practiceSide(), m_un->text(), pos(), true);
        return;
    }
    // Only exactly 1 hosts; anything else joins.
    bool ok = false;
    const bool host = m_hostT->text().toDouble(&ok) == 1.0 && ok;
    if (host) {
        QString error;
        if (!RtfDocument::save(playerFile(m_un->text()), m_mip->text(), &error)) {
            QMessageBox::warning(this, windowTitle(),
                                 QStringLiteral("Berkas pemain tidak dapat disimpan: ") + error);
        }
    }
    // Hidden first: its background is released before the match screen decodes its own,
    // and nothing is drawn in between.
    hide();
    if (host)
        m_screens.startHost(m_un->text(), pos(), true);
    else
        m_screens.startJoin(m_un->text(), pos(), true);
}

void LoginScreen::Command1_Click()
{
    if (m_option1->isChecked())
        m_screens.startHost(m_un->text(), pos(), false);
    if (m_option2->isChecked())
        m_screens.startJoin(m_un->text(), pos(), false);
}

void LoginScreen::Quit_Click()
{
    m_screens.reloadLobbyHidden();
}

void LoginScreen::About_Click()
{
    m_screens.endProgram();
}

void LoginScreen::setHostList(const QStringList &hosts)
{
    m_ho->clear();
    m_ho->addItems(hosts);
}

void LoginScreen::addHost(const QString &host)
{
    m_ho->addItem(host);
}

ImageButton *LoginScreen::button(const QString &zoneName) const
{
    for (ImageButton *b : {m_play, m_quit, m_about}) {
        if (b->objectName() == zoneName)
            return b;
    }
    return nullptr;
}

void LoginScreen::mouseMoveEvent(QMouseEvent *event)
{
    for (ImageButton *b : {m_play, m_quit, m_about})
        b->setFace(ImageButton::Face::Normal);
    QWidget::mouseMoveEvent(event);
}
