#include "image_button.h"

#include "platform/picture_store.h"

#include <QMouseEvent>

HotZone::HotZone(const QString &caption, QWidget *parent)
    : QLabel(caption, parent)
{
    setMouseTracking(true);
    setAlignment(Qt::AlignCenter);
    setAttribute(Qt::WA_TranslucentBackground);
    setCursor(Qt::PointingHandCursor);
    setStyleSheet(QStringLiteral("color: white; font-weight: bold; font-size: 12px;"
                                 "background: transparent;"));
}

void HotZone::mouseMoveEvent(QMouseEvent *event)
{
    emit mouseMoved();
    event->accept();
}

void HotZone::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton) {
        m_pressed = true;
        emit mouseDown();
    }
    event->accept();
}

void HotZone::mouseReleaseEvent(QMouseEvent *event)
{
    // A click is a press and a release over the zone; the release itself changes no face.
    const bool wasPressed = m_pressed;
    m_pressed = false;
    if (wasPressed && event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        emit clicked();
    event->accept();
}

namespace {

QString pictureOf(ImageButton::Face face)
{
    switch (face) {
    case ImageButton::Face::Hover:
        return QStringLiteral("T2");
    case ImageButton::Face::Pressed:
        return QStringLiteral("T3");
    case ImageButton::Face::Normal:
        break;
    }
    return QStringLiteral("T1");
}

} // namespace

ImageButton::ImageButton(const QString &faceName, const QString &zoneName,
                         const QString &caption, const QRect &geometry, QWidget *screen)
    : QObject(screen)
    , m_faceImage(new QLabel(screen))
    , m_zone(new HotZone(caption, screen))
{
    setObjectName(zoneName);
    m_faceImage->setObjectName(faceName);
    m_faceImage->setGeometry(geometry);
    m_faceImage->setScaledContents(true);
    m_faceImage->setPixmap(PictureStore::picture(pictureOf(Face::Normal)));
    m_zone->setObjectName(zoneName);
    m_zone->setGeometry(geometry);
    m_zone->raise();
    connect(m_zone, &HotZone::mouseMoved, this, [this] { setFace(Face::Hover); });
    connect(m_zone, &HotZone::mouseDown, this, [this] { setFace(Face::Pressed); });
    connect(m_zone, &HotZone::clicked, this, &ImageButton::clicked);
}

void ImageButton::setFace(Face face)
{
    if (face == m_face)
        return;
    m_face = face;
    m_faceImage->setPixmap(PictureStore::picture(pictureOf(face)));
}
