#include "board_view.h"

#include "board/point_image.h"
#include "board/status_panel.h"
#include "model/match_model.h"
#include "rules/cell_state.h"
#include "platform/picture_store.h"

#include <QGridLayout>
#include <QLabel>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

BoardView::BoardView(QWidget *parent)
    : QWidget(parent)
{
    setFixedSize(Area);

    for (int i = 0; i < Cell::Count; ++i) {
        auto *point = new PointImage(this);
        point->setObjectName(Cell::name(i));
        point->setGeometry(Cell::rect(i));
        connect(point, &PointImage::clicked, this, [this, i] { emit pointClicked(i); });
        connect(point, &PointImage::pictureShown, this, [this, i] { emit pointShown(i); });
        m_points[size_t(i)] = point;
    }

    // A plain child above the points: clicks on it go to it (and from there to this widget
    // and its parents), never to the points beneath.
    m_trans = new QWidget(this);
    m_trans->setObjectName(QStringLiteral("trans"));
    m_trans->setGeometry(rect());
    m_trans->setAttribute(Qt::WA_NoSystemBackground);
    m_trans->hide();

    m_infox = new StatusPanel(Area.width() - 24, this);
    m_infox->setObjectName(QStringLiteral("infox"));
    m_infox->hide();
    // Centred in the band above the points, so that a scored line stays in sight; only the
    // panel is laid out, so it stays centred as its text changes.
    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(0, 8, 0, 0);
    layout->addWidget(m_infox, 0, 0, Qt::AlignHCenter | Qt::AlignTop);
}

void BoardView::setBackground(const QPixmap &picture, QPoint at)
{
    if (picture.isNull())
        return;
    m_background = picture;
    m_backgroundAt = at;
    update();
}

void BoardView::setModel(const MatchModel *model)
{
    for (const QMetaObject::Connection &connection : std::as_const(m_connections))
        disconnect(connection);
    m_connections.clear();
    m_model = model;
    if (!m_model)
        return;
    m_connections = {
        connect(m_model, &MatchModel::cellChanged, this, &BoardView::redraw),
        connect(m_model, &MatchModel::lockChanged, this, &BoardView::showLock),
        connect(m_model, &MatchModel::coverChanged, this, &BoardView::showCover),
    };
    redrawAll();
    showLock(m_model->isLocked());
    showCover();
}

void BoardView::showLock(bool locked)
{
    for (PointImage *point : m_points)
        point->setEnabled(!locked);
}

void BoardView::showCover()
{
    m_infox->setText(m_model->infox());
    m_trans->setVisible(m_model->transShown());
    m_infox->setVisible(m_model->infoxShown());
}

void BoardView::redraw(int index)
{
    if (!m_model)
        return;
    const QString name = CellState::pictureName(m_model->state(index));
    if (!name.isEmpty())
        m_points[size_t(index)]->setPicture(PictureStore::picture(name));
}

void BoardView::redrawAll()
{
    for (int i = 0; i < Cell::Count; ++i)
        redraw(i);
}

void BoardView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    // The drawn board is made only for a board without its screen's picture (0.6 MB).
    if (m_background.isNull())
        painter.drawPixmap(0, 0, fallbackBackground());
    else
        painter.drawPixmap(QPoint(0, 0), m_background, rect().translated(m_backgroundAt));
}

QPixmap BoardView::fallbackBackground()
{
    static const QPixmap drawn = [] {
        QPixmap pixmap(Area);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);

        QLinearGradient sky(0, 0, 0, Area.height());
        sky.setColorAt(0, QColor(0x1d, 0x3b, 0x53));
        sky.setColorAt(1, QColor(0x0c, 0x1a, 0x26));
        painter.fillRect(pixmap.rect(), sky);

        const QRect first = Cell::rect(0);
        const QRect last = Cell::rect(Cell::Count - 1);
        const QRectF table = QRectF(first.topLeft(), last.bottomRight()).adjusted(-14, -14, 14, 14);
        QLinearGradient wood(table.topLeft(), table.bottomRight());
        wood.setColorAt(0, QColor(0xd9, 0xa8, 0x62));
        wood.setColorAt(1, QColor(0xa8, 0x6c, 0x32));
        painter.setPen(QPen(QColor(0x5a, 0x34, 0x12), 3));
        painter.setBrush(wood);
        painter.drawRoundedRect(table, 12, 12);

        // The lines the pieces can complete: the grid and the two diagonals.
        painter.setPen(QPen(QColor(0x5a, 0x34, 0x12, 200), 3, Qt::SolidLine, Qt::RoundCap));
        auto centre = [](int column, int row) {
            return QRectF(Cell::rect(Cell::at(column, row))).center();
        };
        for (int k = 0; k < 3; ++k) {
            painter.drawLine(centre(k, 0), centre(k, 2));
            painter.drawLine(centre(0, k), centre(2, k));
        }
        painter.drawLine(centre(0, 0), centre(2, 2));
        painter.drawLine(centre(0, 2), centre(2, 0));
        return pixmap;
    }();
    return drawn;
}
