#pragma once

#include <QPixmap>
#include <QWidget>

// One point of the board: shows its picture and reports a click (press and release on
// it). Disabled is the turn lock and must not show, so the picture is drawn the same way
// whether the point is enabled or not; a disabled widget simply gets no mouse events.
class PointImage : public QWidget
{
    Q_OBJECT

public:
    explicit PointImage(QWidget *parent = nullptr);

    void setPicture(const QPixmap &picture);
    const QPixmap &picture() const { return m_picture; }
    QSize sizeHint() const override;

signals:
    void clicked();
    // A different picture than before has just been painted: the change is on screen.
    void pictureShown();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    QPixmap m_picture;
    qint64 m_shownKey = 0;
    bool m_pressed = false;
};
