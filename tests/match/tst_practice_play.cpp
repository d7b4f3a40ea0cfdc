#include "board/board_view.h"
#include "match/practice_screen.h"
#include "match/match_socket.h"
#include "model/computer_opponent.h"
#include "model/match_model.h"
#include "rules/cell.h"
#include "rules/cell_state.h"

#include "support/match_env.h"
#include "support/match_fixture.h"
#include "support/worst_point.h"

#include <QFile>
#include <QLabel>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTest>

using F = MatchFixture;

// A practice game through the screen as a player meets it: clicks on the points, the
// computer's answers, the verdict, the restart, and the totals kept apart from the score
// file; with no network at all.
class TestPracticePlay : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        qputenv("DORVALA_COMPUTER_DELAY", "0");
    }

    void init()
    {
        QFile::remove(PracticeTotals::defaultPath());
    }

    void wholeGame_data()
    {
        QTest::addColumn<bool>("playerX");
        QTest::newRow("player O, first") << false;
        QTest::newRow("player X, computer first") << true;
    }

    void wholeGame()
    {
        QFETCH(bool, playerX);
        MatchEnv env;
        PracticeScreen screen(ComputerLevel::Sempurna, playerX ? MatchSide::Join : MatchSide::Host);
        screen.setOwnName(QStringLiteral("Budi"));
        screen.Form_Load();
        screen.show();
        QVERIFY(QTest::qWaitForWindowExposed(&screen));
        MatchModel *model = screen.model();

        QCOMPARE(F::text(&screen, playerX ? "Oname" : "Xname"), "Komputer (Sempurna)");
        QVERIFY(!F::visible(&screen, "trans"));
        QVERIFY(F::enabled(&screen, "Command3"));
        // The greeting, typed into the computer's bubble.
        QTRY_VERIFY(F::text(&screen, "message").contains(QStringLiteral("Halo")));
        if (playerX)
            QTRY_COMPARE(model->board().toString().count(u'O'), 1);

        // The player takes the worst point each turn until the game is decided.
        for (int turn = 0; turn < 5 && model->game() == MatchModel::Game::Playing; ++turn) {
            QTRY_VERIFY(!model->isLocked() || model->game() == MatchModel::Game::Decided);
            // The computer's move is judged a moment after it lands, as any move is.
            QCoreApplication::processEvents();
            if (model->game() == MatchModel::Game::Decided)
                break;
            const QString cell = Cell::name(worstPoint(*model));
            F::clickPoint(&screen, cell);
            QCOMPARE(F::state(&screen, cell), QString::fromLatin1(ownMark(screen.side())));
            QTRY_VERIFY(!model->isLocked() || model->game() == MatchModel::Game::Decided);
        }
        // The computer wins: with a line, or, where the player leaves it room, the plus,
        // which costs the player nothing and brings the computer three.
        QTRY_COMPARE(model->game(), MatchModel::Game::Decided);
        QVERIFY(F::visible(&screen, "trans"));
        const bool plus = F::text(&screen, "infox") == "Komputer (Sempurna) Melakukan +Triple Score";
        if (!plus)
            QCOMPARE(F::text(&screen, "infox"), "Anda Kalah!");
        const QString player = plus ? "0" : "-1";
        const QString computer = plus ? "3" : "1";
        QTRY_COMPARE(F::text(&screen, "WRL"), player);
        QTRY_COMPARE(F::text(&screen, "WRL2"), computer);
        QTRY_VERIFY(F::text(&screen, "message").contains(QStringLiteral("aku menang")));

        // Kept apart: the practice file has both totals, the score file is never made.
        PracticeTotals kept;
        kept.load();
        QCOMPARE(kept.player(), player);
        QCOMPARE(kept.computer(), computer);
        QVERIFY(!QFile::exists(env.scoreFile()));

        // Restart: a fresh board; the turn stays where it was (the computer's winning move
        // handed it to the player).
        F::click(&screen, "Command3");
        QVERIFY(!F::visible(&screen, "trans"));
        QCOMPARE(model->board().toString(), ".../.../...");
        QVERIFY(!model->isLocked());
        F::clickPoint(&screen, "B2");
        QTRY_COMPARE(model->board().toString().count(ownMark(screen.side()) == QLatin1String("O") ? u'X' : u'O'), 1);

        // Nothing of the network was used.
        QVERIFY(!screen.socket()->isListening() && !screen.socket()->isConnected());
        QVERIFY(screen.findChildren<QTcpServer *>().isEmpty());
    }

    void totalsSurviveReopening()
    {
        MatchEnv env;
        {
            PracticeTotals totals;
            totals.setPlayer(QStringLiteral("4"));
            totals.setComputer(QStringLiteral("-2"));
            QVERIFY(totals.save());
        }
        PracticeScreen screen(ComputerLevel::Mudah, MatchSide::Host);
        screen.Form_Load();
        QCOMPARE(F::text(&screen, "WRL"), "4");
        QCOMPARE(F::text(&screen, "WRL2"), "-2");
    }

    void noMoveOnDecidedBoard()
    {
        MatchEnv env;
        PracticeScreen screen(ComputerLevel::Sempurna, MatchSide::Host);
        screen.Form_Load();
        MatchModel *model = screen.model();
        // O (the player) completes column A by clicks the board allows.
        model->board().setStates(*Board::parse(u"OX./OX./..."));
        model->LockBoard();
        model->UnlockBoard();
        model->click(Cell::indexOf(u"A3"));
        QTRY_COMPARE(model->game(), MatchModel::Game::Decided);
        QTRY_COMPARE(F::text(&screen, "WRL"), "1");
        QTest::qWait(50);
        QCOMPARE(model->board().toString(), "oX./oX./o..");
    }
};

QTEST_MAIN(TestPracticePlay)
#include "tst_practice_play.moc"
