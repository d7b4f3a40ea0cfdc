#pragma once

#include "rules/cell.h"

#include <QList>
#include <QMetaObject>
#include <QPixmap>
#include <QPointer>
#include <QWidget>

#include <array>

class MatchModel;
class PointImage;
class QLabel;

// The board area at a match screen's top-left: background, the nine points `A1` .. `C3`,
// the overlay `trans` that covers them when a game is not being played, and the status
// label `infox` above it. It shows a match model: points are redrawn from their states as
// they change (a point whose state is none of the five known texts keeps the picture it
// had), the turn lock enables or disables the nine points, and the cover shows or hides.
class BoardView : public QWidget
{
    Q_OBJECT

public:
    static constexpr QSize Area{497, 305};

    explicit BoardView(QWidget *parent = nullptr);

    // The board's part of the screen's own background: `picture` from `at` on. The pixels
    // are shared with the screen's copy, not decoded a second time. Until then the board
    // draws a plain board of its own.
    void setBackground(const QPixmap &picture, QPoint at);

    // Shows `model` now and follows its changes from then on.
    void setModel(const MatchModel *model);

    PointImage *point(int index) const { return m_points[size_t(index)]; }
    QWidget *trans() const { return m_trans; }
    QLabel *infox() const { return m_infox; }

    void redraw(int index);
    void redrawAll();

signals:
    void pointClicked(int index);
    // The point's new picture has been painted (not merely set).
    void pointShown(int index);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    static QPixmap fallbackBackground();
    // The turn lock: all nine points disabled or enabled together, in the order A1 .. C3.
    void showLock(bool locked);
    void showCover();

    QPixmap m_background;  // null: the drawn fallback
    QPoint m_backgroundAt;
    std::array<PointImage *, Cell::Count> m_points{};
    QWidget *m_trans = nullptr;
    QLabel *m_infox = nullptr;
    QPointer<const MatchModel> m_model;
    QList<QMetaObject::Connection> m_connections;
};
