#include "model/match_model.h"
#include "rules/cell.h"

#include <QSignalSpy>
#include <QTest>

namespace {

// In the order GameEvent declares them.
const char *const EventNames[] = {"placed", "refused", "moved", "won", "lost", "chat", "arrived"};

// One side's model with a peer that always takes what is sent. Everything it does is
// written down in order with the turn lock as it stood: "send:B2 B2=O open" then
// "placed locked" means the board locked in between.
struct Side
{
    explicit Side(MatchSide side)
        : model(side)
    {
        model.setOwnName(side == MatchSide::Host ? QStringLiteral("Olga") : QStringLiteral("Xavier"));
        model.receive(side == MatchSide::Host ? QStringLiteral("XXavier") : QStringLiteral("OOlga"));
        model.setSender([this](const QString &message, bool) {
            const int cell = Cell::indexOf(message);
            record(QStringLiteral("send:") + message
                   + (cell >= 0 ? u' ' + message + u'=' + model.state(cell) : QString()));
            return true;
        });
        QObject::connect(&model, &MatchModel::happened, [this](GameEvent e) {
            record(QLatin1String(EventNames[int(e)]));
        });
        QObject::connect(&model, &MatchModel::chatLogged, [this](const QString &line) {
            record(QStringLiteral("log:") + line);
        });
    }

    void record(const QString &what)
    {
        events << what + (model.isLocked() ? QStringLiteral(" locked") : QStringLiteral(" open"));
    }

    void setBoard(const QString &text)
    {
        model.board().setStates(*Board::parse(text));
        QCoreApplication::processEvents();  // the win check those changes scheduled
        events.clear();
    }

    MatchModel model;
    QStringList events;
};

} // namespace

class TestMatchModel : public QObject
{
    Q_OBJECT

private slots:
    void moves_data()
    {
        QTest::addColumn<MatchSide>("side");
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("move");     // "click B2", "receive B2", "receive B2 as X" (another mark)
        QTest::addColumn<QString>("after");    // once detection has run
        QTest::addColumn<QString>("events");   // in order, with the turn lock as it stood
        QTest::addColumn<QString>("caption");  // empty: the game goes on
        QTest::addColumn<QString>("totals");   // WR WRL2
        const auto host = MatchSide::Host;
        const auto join = MatchSide::Join;
        QTest::newRow("host, free point") << host << ".../.../X.." << "click B2" << ".../.O./X.."
            << "send:B2 B2=O open|placed locked" << "" << "0 0";
        QTest::newRow("joiner, free corner") << join << ".../.O./..." << "click C1" << "..X/.O./..."
            << "send:C1 C1=X open|placed locked" << "" << "0 0";
        QTest::newRow("opponent's piece") << host << ".../.X./..." << "click B2" << ".../.X./..." << "refused open" << "" << "0 0";
        QTest::newRow("scored X") << host << "x../.../..." << "click A1" << "x../.../..." << "refused open" << "" << "0 0";
        QTest::newRow("scored O") << host << ".../.../..o" << "click C3" << ".../.../..o" << "refused open" << "" << "0 0";
        QTest::newRow("host gets A1") << host << ".../.O./..." << "receive A1" << "X../.O./..." << "moved open" << "" << "0 0";
        QTest::newRow("joiner gets C3 over its own X") << join << ".../.../..X" << "receive C3" << ".../.../..O"
            << "moved open" << "" << "0 0";
        QTest::newRow("host with mark X, silent") << host << ".../.../..." << "receive B2 as X" << ".../.O./..."
            << "" << "" << "0 0";
        QTest::newRow("joiner with mark O, as placed") << join << ".../.../..." << "receive B2 as O" << ".../.X./..."
            << "placed open" << "" << "0 0";
        QTest::newRow("host's plus on B2") << host << ".O./O.O/.O." << "click B2" << ".o./ooo/.o."
            << "send:B2 B2=O open|placed locked|won locked" << "Anda Menang! Bonus!! +Triple Score" << "3 0";
        QTest::newRow("joiner sees the host's plus") << join << ".O./O.O/.O." << "receive B2" << ".o./ooo/.o."
            << "moved open|lost open" << "Olga Melakukan +Triple Score" << "0 3";
        QTest::newRow("host sees the joiner's plus") << host << ".X./X.X/.X." << "receive B2" << ".x./xxx/.x."
            << "moved open|lost open" << "Xavier Melakukan +Triple Score" << "0 3";
        QTest::newRow("host loses below zero") << host << "X../.X./..." << "receive C3" << "x../.x./..x"
            << "moved open|lost open" << "Anda Kalah!" << "-1 0";
        QTest::newRow("column B beats diagonal 7") << host << "OO./.../.OO" << "click B2" << "Oo./.o./.oO"
            << "send:B2 B2=O open|placed locked|won locked" << "Anda Menang!" << "1 0";
        QTest::newRow("joiner's own line") << join << "X../X../..." << "click A3" << "x../x../x.."
            << "send:A3 A3=X open|placed locked|won locked" << "Anda Menang!" << "1 0";
        QTest::newRow("full board, no line") << host << "XOX/XOO/OX." << "click C3" << "XOX/XOO/OXO"
            << "send:C3 C3=O open|placed locked" << "" << "0 0";
    }

    void moves()
    {
        QFETCH(MatchSide, side);
        QFETCH(QString, before);
        QFETCH(QString, move);
        QFETCH(QString, after);
        QFETCH(QString, caption);
        QFETCH(QString, totals);
        const QStringList words = move.split(u' ');
        const bool click = words[0] == QLatin1String("click");
        const int index = Cell::indexOf(words[1]);
        Side s(side);
        s.model.accepted();  // the host's cover is lifted
        if (words.size() == 4)
            s.model.setXO(words[3]);
        if (!click)
            s.model.LockBoard();  // waiting for the opponent
        s.setBoard(before);
        QSignalSpy saved(&s.model, &MatchModel::ownTotalChanged);
        const QString lastBefore = s.model.LastMsg();
        click ? s.model.click(index) : s.model.receive(words[1]);
        QCOMPARE(s.model.LastMsg(), before == after ? lastBefore : words[1]);
        // Detection waits until the handler is done; a new piece is still plain.
        QVERIFY(before == after || s.model.state(index).size() == 1);
        QVERIFY(!s.model.infoxShown());

        QCoreApplication::processEvents();
        QTEST(s.events.join(u'|'), "events");
        QCOMPARE(s.model.board().toString(), after);
        QCOMPARE(s.model.game() == MatchModel::Game::Decided, !caption.isEmpty());
        QCOMPARE(s.model.infoxShown() ? s.model.infox() : QString(), caption);
        QCOMPARE(s.model.transShown(), !caption.isEmpty());
        QCOMPARE(s.model.WR() + u' ' + s.model.WRL2(), totals);
        // Every change of the own total is announced at once, so that it is saved at once.
        QCOMPARE(saved.count(), totals.startsWith(QLatin1String("0 ")) ? 0 : 1);

        // Later ticks find nothing new.
        s.events.clear();
        QVERIFY(s.model.WinTime_Timer().isEmpty());
        QCOMPARE(s.model.board().toString(), after);
        QCOMPARE(s.model.WR() + u' ' + s.model.WRL2(), totals);
        QVERIFY(s.events.isEmpty());

        // Restart clears the points and the verdict; the turn and the totals stay as they are.
        const bool locked = s.model.isLocked();
        s.model.restart();
        QCOMPARE(s.model.board().toString(), QStringLiteral(".../.../..."));
        QVERIFY(!s.model.transShown() && !s.model.infoxShown());
        QCOMPARE(s.model.isLocked(), locked);
        QCOMPARE(s.model.WR() + u' ' + s.model.WRL2(), totals);
        QCOMPARE(s.model.game(), MatchModel::Game::Playing);
    }

    void receive_data()
    {
        QTest::addColumn<MatchSide>("side");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("events");  // the sends after 20 ms included
        QTest::addColumn<QString>("shown");   // board, names, totals, cover
        const auto host = MatchSide::Host;
        const auto join = MatchSide::Join;
        QTest::newRow("host answers a score once, later") << host << "$7" << "send:$4 open"
            << ".../.../... Olga Xavier 4 7 covered";
        QTest::newRow("joiner does not answer") << join << "$7" << "" << "O../.../... Olga Xavier 4 7 open";
        QTest::newRow("joiner: X restarts and answers") << join << "X" << "send:$4 open"
            << ".../.../... Olga Xavier 4 0 open";
        QTest::newRow("host logs a line with two spaces") << host << "msg: hi"
            << "chat open|log:Xavier:  hi\r\n open" << ".../.../... Olga Xavier 4 0 covered";
        QTest::newRow("joiner logs nothing") << join << "msg: hi" << "chat open"
            << "O../.../... Olga Xavier 4 0 open";
        QTest::newRow("glued score and name: the name is lost") << host << "$3XBob" << "send:$4 open"
            << ".../.../... Olga Xavier 4 3XBob covered";
    }

    void receive()
    {
        QFETCH(MatchSide, side);
        QFETCH(QString, message);
        Side s(side);
        s.model.setWR(QStringLiteral("4"));
        if (side == MatchSide::Join)
            s.setBoard(QStringLiteral("O../.../..."));
        s.events.clear();
        s.model.receive(message);
        QCOMPARE(s.model.LastMsg(), message);
        // A later answer has had its time; on a busy machine it may come later still.
        QTest::qWait(3 * MatchModel::ScoreReplyDelay);
        QFETCH(QString, events);
        QTRY_COMPARE_WITH_TIMEOUT(s.events.join(u'|'), events, 2000);
        const MatchModel &m = s.model;
        QTEST(QStringList({m.board().toString(), m.Oname(), m.Xname(), m.WR(), m.WRL2(),
                           m.transShown() ? "covered" : "open"})
                  .join(u' '),
              "shown");
    }

    void typewriters()
    {
        Side s(MatchSide::Host);
        s.model.accepted();
        // The whole message is typed, prefix included, one step per character; a move that
        // replaces LastMsg meanwhile is typed on from where the counter stands.
        QStringList typed;
        QObject::connect(&s.model.incoming(), &Typewriter::typed, [&](const QString &t) {
            typed << t;
            if (t == QLatin1String("msg"))
                s.model.receive(QStringLiteral("B2"));
        });
        s.model.receive(QStringLiteral("msg: hi"));
        QVERIFY(s.model.incoming().isShowing());
        QTRY_VERIFY_WITH_TIMEOUT(!s.model.incoming().isShowing(), 5000);
        QCOMPARE(typed, (QStringList{"m", "ms", "msg", "B2"}));
        QCOMPARE(s.model.incoming().counter(), 4);
    }
};

QTEST_GUILESS_MAIN(TestMatchModel)
#include "tst_match_model.moc"
