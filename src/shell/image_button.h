#pragma once

#include <QLabel>
#include <QObject>

class QWidget;

// A transparent label (the hot zone) over a face image. The zone moves its face to hover on
// mouse move and to pressed on mouse down; nothing reacts to the release, so a pressed face
// stays until the pointer moves again. The screen resets every face to normal when the
// pointer moves over its bare background.
class HotZone : public QLabel
{
    Q_OBJECT
public:
    explicit HotZone(const QString &caption, QWidget *parent);

signals:
    void mouseMoved();
    void mouseDown();
    void clicked();

protected:
    void mouseMoveEvent(QMouseEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    bool m_pressed = false;
};

class ImageButton : public QObject
{
    Q_OBJECT
public:
    enum class Face { Normal, Hover, Pressed };

    // `faceName` and `zoneName` are the design names (e.g. "T1" and "Play").
    ImageButton(const QString &faceName, const QString &zoneName, const QString &caption,
                const QRect &geometry, QWidget *screen);

    void setFace(Face face);
    Face face() const { return m_face; }
    QLabel *faceImage() const { return m_faceImage; }
    HotZone *zone() const { return m_zone; }

signals:
    void clicked();

private:
    QLabel *m_faceImage;
    HotZone *m_zone;
    Face m_face = Face::Normal;
};
