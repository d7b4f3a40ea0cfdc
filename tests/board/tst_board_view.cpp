#include "board/board.h"
#include "board/board_view.h"
#include "board/cell.h"
#include "board/point_image.h"
#include "platform/picture_store.h"

#include <QLabel>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

class TestBoardView : public QObject
{
    Q_OBJECT

private slots:
    void pictureFollowsState_data();
    void pictureFollowsState();
    void everyPointDrawnWhenBound();
    void overlaySwallowsClicks();
    void lockIsInvisible();
};

void TestBoardView::pictureFollowsState_data()
{
    QTest::addColumn<QString>("state");
    QTest::addColumn<QString>("picture");
    QTest::newRow("free") << "" << "N";
    QTest::newRow("X") << "X" << "X";
    QTest::newRow("O") << "O" << "O";
    QTest::newRow("scored X") << "X2" << "X2";
    QTest::newRow("scored O") << "O2" << "O2";
    // None of the five: the point keeps what it showed (an "O").
    QTest::newRow("lower-case mark") << "x" << "O";
    QTest::newRow("unknown text") << "O3" << "O";
}

void TestBoardView::pictureFollowsState()
{
    QFETCH(QString, state);
    QFETCH(QString, picture);
    Board board;
    BoardView view;
    view.setBoard(&board);
    const int b3 = Cell::indexOf(u"B3");
    board.setState(b3, QStringLiteral("O"));
    board.setState(b3, state);
    QCOMPARE(view.point(b3)->picture().cacheKey(), PictureStore::picture(picture).cacheKey());
}

void TestBoardView::everyPointDrawnWhenBound()
{
    Board board = Board::fromString(u"X.o/.../..O");
    BoardView view;
    view.setBoard(&board);
    const QStringList expected{"X", "N", "N", "N", "N", "N", "O2", "N", "O"};
    for (int i = 0; i < Cell::Count; ++i) {
        QCOMPARE(view.point(i)->objectName(), Cell::name(i));
        QCOMPARE(view.point(i)->geometry(), Cell::rect(i));
        QCOMPARE(view.point(i)->picture().cacheKey(), PictureStore::picture(expected[i]).cacheKey());
    }
    board.clear();
    for (int i = 0; i < Cell::Count; ++i)
        QCOMPARE(view.point(i)->picture().cacheKey(), PictureStore::picture("N").cacheKey());
}

void TestBoardView::overlaySwallowsClicks()
{
    Board board;
    BoardView view;
    view.setBoard(&board);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QSignalSpy clicks(&view, &BoardView::pointClicked);
    const QPoint c2 = Cell::rect(Cell::indexOf(u"C2")).center();

    // Through the window, so that the click lands on whatever lies on top at that spot.
    view.trans()->show();
    view.infox()->show();
    view.infox()->setText(QStringLiteral("Anda Menang!"));
    QTest::mouseClick(view.windowHandle(), Qt::LeftButton, {}, c2);
    QCOMPARE(clicks.count(), 0);

    view.trans()->hide();
    view.infox()->hide();
    QTest::mouseClick(view.windowHandle(), Qt::LeftButton, {}, c2);
    QCOMPARE(clicks.count(), 1);
    QCOMPARE(clicks.first().first().toInt(), Cell::indexOf(u"C2"));

    view.LockBoard();
    QTest::mouseClick(view.windowHandle(), Qt::LeftButton, {}, c2);
    QCOMPARE(clicks.count(), 1);
}

void TestBoardView::lockIsInvisible()
{
    Board board = Board::fromString(u"X../.O./..o");
    BoardView view;
    view.setBoard(&board);
    const QImage unlocked = view.grab().toImage();
    view.LockBoard();
    QCOMPARE(view.grab().toImage(), unlocked);
}

QTEST_MAIN(TestBoardView)
#include "tst_board_view.moc"
