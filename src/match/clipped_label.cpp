#include "clipped_label.h"

#include <QPainter>
#include <QStyle>

ClippedLabel::ClippedLabel(QWidget *parent)
    : ClippedLabel(QString(), parent)
{
}

ClippedLabel::ClippedLabel(const QString &text, QWidget *parent)
    : QLabel(text, parent)
{
    setTextFormat(Qt::PlainText);
    setTextInteractionFlags(Qt::NoTextInteraction);
}

QSize ClippedLabel::sizeHint() const
{
    // The box is placed by hand; asking the base class would lay out the whole text.
    return size();
}

QSize ClippedLabel::minimumSizeHint() const
{
    return size();
}

void ClippedLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    drawFrame(&painter);
    const QRect box = contentsRect().adjusted(margin(), margin(), -margin(), -margin());
    painter.setClipRect(box);
    QString shown = text().left(MaxDrawn);
    // A peer's text may hold line breaks and tabs; show them as spaces on a label.
    for (QChar &c : shown) {
        if (c.unicode() < 0x20)
            c = u' ';
    }
    const Qt::Alignment align = QStyle::visualAlignment(layoutDirection(), alignment());
    if (wordWrap()) {
        painter.drawText(box, int(align) | Qt::TextWordWrap | Qt::TextWrapAnywhere, shown);
        return;
    }
    if (shown.size() < text().size())
        shown += QChar(0x2026);
    painter.drawText(box, int(align), fontMetrics().elidedText(shown, Qt::ElideRight, box.width()));
}
