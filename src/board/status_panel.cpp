#include "status_panel.h"

#include <QPainter>

StatusPanel::StatusPanel(int widest, QWidget *parent)
    : QLabel(parent)
    , m_widest(widest)
{
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignCenter);
    setWordWrap(true);
    setContentsMargins(20, 8, 20, 10);
    QFont big = font();
    big.setPixelSize(20);
    big.setBold(true);
    setFont(big);
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, QColor(0xff, 0xf3, 0xc4));
    setPalette(colours);
}

QSize StatusPanel::sizeHint() const
{
    const QMargins margins = contentsMargins();
    const int margin = margins.left() + margins.right();
    const QRect text = fontMetrics().boundingRect(QRect(0, 0, m_widest - margin, 4096),
                                                  Qt::AlignCenter | Qt::TextWordWrap, this->text());
    return {text.width() + margin, text.height() + margins.top() + margins.bottom()};
}

QSize StatusPanel::minimumSizeHint() const
{
    return sizeHint();
}

void StatusPanel::paintEvent(QPaintEvent *event)
{
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(QColor(255, 214, 102, 170), 2));
        painter.setBrush(QColor(16, 20, 30, 215));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 14, 14);
    }
    QLabel::paintEvent(event);
}
