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
    void pictureFollowsState()
    {
        MatchModel model(MatchSide::Join);
        model.board().setStates(*Board::parse(u"X.o/.../..O"));
        BoardView view;
        view.setModel(&model);
        const auto shows = [&view](int index, const char *picture) {
            return view.point(index)->picture().cacheKey() == PictureStore::picture(QLatin1String(picture)).cacheKey();
        };
        // Drawn as bound; then each state as it changes. A text that is none of the five (a
        // lower-case mark, say) leaves the point as it was.
        const char *bound[] = {"X", "N", "N", "N", "N", "N", "O2", "N", "O"};
        for (int i = 0; i < Cell::Count; ++i)
            QVERIFY2(shows(i, bound[i]), qPrintable(Cell::name(i)));
        const int b3 = Cell::indexOf(u"B3");
        for (const auto &[state, picture] : {std::pair{"X", "X"}, {"O", "O"}, {"", "N"}, {"X2", "X2"},
                                             {"O2", "O2"}, {"x", "O2"}, {"O3", "O2"}}) {
            model.board().setState(b3, QLatin1String(state));
            QVERIFY2(shows(b3, picture), state);
        }
        model.restart();
        for (int i = 0; i < Cell::Count; ++i)
            QVERIFY2(shows(i, "N"), qPrintable(Cell::name(i)));
    }

    void overlaySwallowsClicks()
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

    void lockIsInvisible()
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
};

QTEST_MAIN(TestBoardView)
#include "tst_board_view.moc"
