#include "point_image.h"

#include "rules/cell.h"

#include <QMouseEvent>
#include <QPainter>

PointImage::PointImage(QWidget *parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_NoSystemBackground);
}

void PointImage::setPicture(const QPixmap &picture)
{
    if (picture.cacheKey() == m_picture.cacheKey())
        return;
    m_picture = picture;
    update();
}

QSize PointImage::sizeHint() const
{
    return {Cell::Size, Cell::Size};
}

void PointImage::paintEvent(QPaintEvent *)
{
    if (!m_picture.isNull()) {
        QPainter painter(this);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawPixmap(rect(), m_picture);
    }
    if (m_picture.cacheKey() != m_shownKey) {
        m_shownKey = m_picture.cacheKey();
        emit pictureShown();
    }
}

void PointImage::mousePressEvent(QMouseEvent *event)
{
    m_pressed = event->button() == Qt::LeftButton;
    event->accept();
}

void PointImage::mouseReleaseEvent(QMouseEvent *event)
{
    const bool click = m_pressed && event->button() == Qt::LeftButton
                       && rect().contains(event->position().toPoint());
    m_pressed = false;
    event->accept();
    if (click)
        emit clicked();
}
