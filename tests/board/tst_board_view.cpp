#include "board/board_view.h"
#include "board/point_image.h"
#include "model/match_model.h"
#include "platform/picture_store.h"
#include "rules/cell.h"

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
    MatchModel model(MatchSide::Join);
    BoardView view;
    view.setModel(&model);
    const int b3 = Cell::indexOf(u"B3");
    model.board().setState(b3, QStringLiteral("O"));
    model.board().setState(b3, state);
    QCOMPARE(view.point(b3)->picture().cacheKey(), PictureStore::picture(picture).cacheKey());
}

void TestBoardView::everyPointDrawnWhenBound()
{
    MatchModel model(MatchSide::Join);
    model.board().setStates(*Board::parse(u"X.o/.../..O"));
    BoardView view;
    view.setModel(&model);
    const QStringList expected{"X", "N", "N", "N", "N", "N", "O2", "N", "O"};
    for (int i = 0; i < Cell::Count; ++i) {
        QCOMPARE(view.point(i)->objectName(), Cell::name(i));
        QCOMPARE(view.point(i)->geometry(), Cell::rect(i));
        QCOMPARE(view.point(i)->picture().cacheKey(), PictureStore::picture(expected[i]).cacheKey());
    }
    model.restart();
    for (int i = 0; i < Cell::Count; ++i)
        QCOMPARE(view.point(i)->picture().cacheKey(), PictureStore::picture("N").cacheKey());
}

void TestBoardView::overlaySwallowsClicks()
{
    MatchModel model(MatchSide::Host);  // covered until a joiner comes
    BoardView view;
    view.setModel(&model);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QSignalSpy clicks(&view, &BoardView::pointClicked);
    const QPoint c2 = Cell::rect(Cell::indexOf(u"C2")).center();

    // Through the window, so that the click lands on whatever lies on top at that spot.
    QVERIFY(view.trans()->isVisible() && view.infox()->isVisible());
    QTest::mouseClick(view.windowHandle(), Qt::LeftButton, {}, c2);
    QCOMPARE(clicks.count(), 0);

    model.accepted();
    QVERIFY(view.trans()->isHidden() && view.infox()->isHidden());
    QTest::mouseClick(view.windowHandle(), Qt::LeftButton, {}, c2);
    QCOMPARE(clicks.count(), 1);
    QCOMPARE(clicks.first().first().toInt(), Cell::indexOf(u"C2"));

    model.LockBoard();
    QTest::mouseClick(view.windowHandle(), Qt::LeftButton, {}, c2);
    QCOMPARE(clicks.count(), 1);
}

void TestBoardView::lockIsInvisible()
{
    MatchModel model(MatchSide::Join);
    model.board().setStates(*Board::parse(u"X../.O./..o"));
    BoardView view;
    view.setModel(&model);
    const QImage unlocked = view.grab().toImage();
    model.LockBoard();
    QVERIFY(!view.point(0)->isEnabled());
    QCOMPARE(view.grab().toImage(), unlocked);
}

QTEST_MAIN(TestBoardView)
#include "tst_board_view.moc"
