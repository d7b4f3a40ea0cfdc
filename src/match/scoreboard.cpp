#include "scoreboard.h"

#include "platform/picture_store.h"

#include <QPainter>
#include <QPainterPath>

namespace {

// The felt of the side panel runs x 504..633; its stitching leaves x 514..623 free.
constexpr int Left = 513;
constexpr int Width = 112;
constexpr int CaptionHeight = 18;
constexpr int CardHeight = 46;
constexpr int FirstCaption = 60;
constexpr int Gap = 6;

int cardTop(MatchSide screen, Scoreboard::Mark mark)
{
    const int first = FirstCaption + CaptionHeight + 2;
    if (mark == Scoreboard::Mark::O)
        return first;
    const int below = first + CardHeight + Gap;
    return screen == MatchSide::Host ? below : below + CaptionHeight + 2;
}

Scoreboard::Mark own(MatchSide screen)
{
    return screen == MatchSide::Host ? Scoreboard::Mark::O : Scoreboard::Mark::X;
}

} // namespace

QRect Scoreboard::turnCaption()
{
    return {Left + 1, 20, 72, 24};
}

QRect Scoreboard::turnLamp()
{
    return {Left + Width - 38, 15, 33, 33};
}

QRect Scoreboard::caption(MatchSide screen, Mark mark)
{
    return {Left + 3, cardTop(screen, mark) - CaptionHeight - 2, Width - 6, CaptionHeight};
}

QRect Scoreboard::card(MatchSide screen, Mark mark)
{
    return {Left, cardTop(screen, mark), Width, CardHeight};
}

QRect Scoreboard::stone(MatchSide screen, Mark mark)
{
    const QRect c = card(screen, mark);
    return {c.left() + 5, c.top() + 3, 20, 20};
}

QRect Scoreboard::name(MatchSide screen, Mark mark)
{
    const QRect c = card(screen, mark);
    return {c.left() + 28, c.top() + 3, c.width() - 32, 19};
}

QRect Scoreboard::total(MatchSide screen, Mark mark)
{
    const QRect c = card(screen, mark);
    return {c.left() + 6, c.top() + 23, c.width() - 12, 20};
}

QRect Scoreboard::ownMark()
{
    return {Left + (Width - 54) / 2, 210, 54, 54};
}

QRect Scoreboard::statusLine()
{
    return {Left + 1, 268, Width - 2, 18};
}

QString Scoreboard::style()
{
    return QStringLiteral(
        "QLabel#Label1 { color: #f4e6c4; font-size: 13px; font-weight: bold; }"
        "QLabel#Label2, QLabel#Label3, QLabel#Label5 { color: #a9cfc9; font-size: 11px; }"
        "QLabel#Oname, QLabel#Xname { color: #fff8ea; font-size: 12px; font-weight: bold; }"
        "QLabel#WRL, QLabel#WRL2 { color: #ffd666; font-size: 17px; font-weight: bold; }"
        "QLabel#XO { color: #ffd666; font-size: 34px; font-weight: bold;"
        " border: 2px solid #d9ae55; border-radius: 27px;"
        " background: qradialgradient(cx:0.5, cy:0.5, radius:0.5, fx:0.5, fy:0.35,"
        " stop:0 #1d6d6a, stop:1 #0a2f31); }"
        "QLabel#info { color: #9fe3a4; font-size: 11px; font-weight: bold; }");
}

void Scoreboard::paint(QPainter &painter, MatchSide screen)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);

    // A brass rule between the turn row and the scores.
    painter.setPen(QPen(QColor(0xd9, 0xae, 0x55, 150), 1));
    painter.drawLine(QPointF(Left + 3, 54.5), QPointF(Left + Width - 3, 54.5));

    for (Mark mark : {Mark::O, Mark::X}) {
        const bool mine = mark == own(screen);
        const QRectF box = QRectF(card(screen, mark)).adjusted(0.5, 0.5, -0.5, -0.5);
        painter.setPen(QPen(mine ? QColor(0xff, 0xd6, 0x66) : QColor(0xb8, 0x89, 0x3a, 170),
                            mine ? 1.6 : 1.0));
        painter.setBrush(QColor(0, 0, 0, mine ? 80 : 60));
        painter.drawRoundedRect(box, 7, 7);
        const QPixmap stone =
            PictureStore::picture(mark == Mark::O ? QStringLiteral("O") : QStringLiteral("X"));
        if (!stone.isNull())
            painter.drawPixmap(Scoreboard::stone(screen, mark), stone);
    }
    painter.restore();
}
