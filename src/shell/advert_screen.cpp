#include "advert_screen.h"

#include "platform/settings.h"
#include "platform/web_view.h"

#include <QLabel>
#include <QUrl>

AdvertScreen::AdvertScreen()
    : m_wb(new WebView(this))
{
    setObjectName(QStringLiteral("Form1"));
    setWindowTitle(QStringLiteral("Dorvala Advertising"));
    setFixedSize(420, 360);
    auto *label = new QLabel(QStringLiteral("Hubungi kami: halo@pobrek.example"), this);
    label->setObjectName(QStringLiteral("Label1"));
    label->setGeometry(12, 8, 396, 24);
    m_wb->setObjectName(QStringLiteral("WB"));
    m_wb->setGeometry(12, 40, 396, 308);
}

void AdvertScreen::Form_Load()
{
    m_wb->navigate(QUrl(Settings::makerUrl()));
}
