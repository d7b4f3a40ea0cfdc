#include "about_screen.h"

#include "screens.h"

#include "platform/picture_store.h"
#include "platform/settings.h"
#include "platform/tune_player.h"

#include <QLabel>
#include <QMouseEvent>

namespace {

// A picture that reports a click to the screen and keeps it from reaching the background.
class ClickablePicture : public QLabel
{
public:
    ClickablePicture(QWidget *parent, std::function<void()> onClick)
        : QLabel(parent), m_onClick(std::move(onClick))
    {
        setCursor(Qt::PointingHandCursor);
    }

protected:
    void mouseReleaseEvent(QMouseEvent *event) override
    {
        if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
            m_onClick();
        event->accept();
    }

private:
    std::function<void()> m_onClick;
};

// The text swallows its clicks: only the background and the pictures close the screen.
class QuietLabel : public QLabel
{
public:
    using QLabel::QLabel;

protected:
    void mousePressEvent(QMouseEvent *event) override { event->accept(); }
    void mouseReleaseEvent(QMouseEvent *event) override { event->accept(); }
};

} // namespace

AboutScreen::AboutScreen(Screens &screens)
    : m_screens(screens)
    , m_ab(new TunePlayer(this))
{
    setObjectName(QStringLiteral("ABt"));
    setWindowTitle(QStringLiteral("About Dorvala"));
    setFixedSize(440, 300);
    setStyleSheet(QStringLiteral("AboutScreen { background: qlineargradient(x1:0, y1:0, x2:0, y2:1,"
                                 " stop:0 #1d3b3a, stop:1 #0d1f1e); }"));
    setAttribute(Qt::WA_StyledBackground);

    auto *image1 = new ClickablePicture(this, [this] { Image1_Click(); });
    image1->setObjectName(QStringLiteral("Image1"));
    image1->setGeometry(30, 30, 180, 180);
    image1->setScaledContents(true);
    image1->setPixmap(PictureStore::picture(QStringLiteral("About1")));
    auto *image2 = new ClickablePicture(this, [this] { Image2_Click(); });
    image2->setObjectName(QStringLiteral("Image2"));
    image2->setGeometry(230, 30, 180, 180);
    image2->setScaledContents(true);
    image2->setPixmap(PictureStore::picture(QStringLiteral("About2")));

    m_label1 = new QuietLabel(QStringLiteral("More Then Games!"), this);
    m_label1->setObjectName(QStringLiteral("Label1"));
    m_label1->setGeometry(30, 226, 380, 44);
    m_label1->setAlignment(Qt::AlignCenter);
    m_label1->setStyleSheet(QStringLiteral("color: #ffd75e; font-size: 24px; font-weight: bold;"));

    m_ab->setObjectName(QStringLiteral("AB"));
    Form_Load();
}

void AboutScreen::Form_Load()
{
    m_ab->setFileName(Settings::programFolder() + QStringLiteral("/AB.MID"));
    if (!Settings::soundEnabled())
        return;  // the player turned sound off
    m_ab->command(QStringLiteral("Open"));
    m_ab->command(QStringLiteral("Prev"));
    m_ab->command(QStringLiteral("Play"));
}

void AboutScreen::Form_Click()
{
    m_screens.unload(this);
}

void AboutScreen::Image1_Click()
{
    m_screens.unload(this);
}

void AboutScreen::Image2_Click()
{
    m_screens.unload(this);
}

void AboutScreen::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        Form_Click();
}
