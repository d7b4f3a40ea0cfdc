// The computer's move choice checked against the rules' own win detection (WinRules on a
// Board), not against the bit patterns the computer reads.
#include "ai/move_chooser.h"
#include "ai/perfect_play.h"
#include "rules/board.h"
#include "rules/cell.h"
#include "rules/cell_state.h"
#include "rules/win_rules.h"

#include <QHash>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <limits>

namespace {

using States = Board::States;

QString other(const QString &mark)
{
    return mark == CellState::o() ? CellState::x() : CellState::o();
}

int freeCount(const States &states)
{
    return int(std::count_if(states.begin(), states.end(), [](const QString &s) { return s.isEmpty(); }));
}

// What the rules make of `mark` placed on `cell`: the points it scores (3, 1 or 0).
int scoreByRules(States &states, int cell, const QString &mark)
{
    states[size_t(cell)] = mark;
    Board board(states);
    int points = 0;
    for (const WinResult &result : WinRules::tick(board, mark)) {
        if (result.local)
            points = std::max(points, result.isPlus() ? 3 : 1);
    }
    return points;
}

// The decided game's worth for the side that decided it, with the time left as tie-break:
// points * 10 + free points.
int decided(int points, const States &after)
{
    return points * 10 + freeCount(after);
}

// An independent negamax over the rules' boards: the best value for `mover`.
class Referee
{
public:
    int value(const States &states, const QString &mover)
    {
        const QString key = Board::format(states) + mover;
        if (auto it = m_memo.constFind(key); it != m_memo.constEnd())
            return *it;
        int best = freeCount(states) ? std::numeric_limits<int>::min() : 0;
        for (int cell = 0; cell < Cell::Count; ++cell) {
            if (!states[size_t(cell)].isEmpty())
                continue;
            States next = states;
            const int points = scoreByRules(next, cell, mover);
            best = std::max(best, points ? decided(points, next) : -value(next, other(mover)));
        }
        m_memo.insert(key, best);
        return best;
    }

private:
    QHash<QString, int> m_memo;
};

// Plays out every line the player may choose and every move the perfect computer may
// choose among its equals; checks at each of the computer's turns that the worst it can
// come to is exactly the referee's value. Returns that worst, for the computer.
class PolicyWalk
{
public:
    explicit PolicyWalk(QString computer) : m_computer(std::move(computer)) {}

    int worst(const States &states, bool computerToMove)
    {
        const QString key = Board::format(states) + (computerToMove ? u'c' : u'p');
        if (auto it = m_memo.constFind(key); it != m_memo.constEnd())
            return *it;
        QList<int> moves;
        if (computerToMove) {
            moves = PerfectPlay::bestMoves(Position::fromStates(states, m_computer));
        } else {
            for (int cell = 0; cell < Cell::Count; ++cell) {
                if (states[size_t(cell)].isEmpty())
                    moves.append(cell);
            }
        }
        if (freeCount(states) > 0 && moves.isEmpty())
            failures.append(Board::format(states) + QStringLiteral(": no move"));
        int result = moves.isEmpty() ? 0 : std::numeric_limits<int>::max();
        const QString mover = computerToMove ? m_computer : other(m_computer);
        for (int cell : moves) {
            States next = states;
            const int points = scoreByRules(next, cell, mover);
            int outcome;
            if (points)
                outcome = computerToMove ? decided(points, next) : -decided(points, next);
            else
                outcome = worst(next, !computerToMove);
            result = std::min(result, outcome);
        }
        if (computerToMove) {
            ++computerTurns;
            const int best = m_referee.value(states, m_computer);
            if (result != best)
                failures.append(Board::format(states) + QStringLiteral(": guaranteed %1, best %2")
                                                            .arg(result).arg(best));
        }
        m_memo.insert(key, result);
        return result;
    }

    QStringList failures;
    int computerTurns = 0;

private:
    QString m_computer;
    Referee m_referee;
    QHash<QString, int> m_memo;
};

// One game between two choosers (nullptr: uniformly random) from the empty board; the
// first moves first. The points of the deciding pattern for the first (negative: second).
int playGame(MoveChooser *first, MoveChooser *second, QRandomGenerator &random)
{
    States states;
    const QString marks[2] = {CellState::o(), CellState::x()};
    MoveChooser *players[2] = {first, second};
    for (int turn = 0; freeCount(states) > 0; turn ^= 1) {
        const Position position = Position::fromStates(states, marks[turn]);
        int cell;
        if (players[turn]) {
            cell = players[turn]->choose(position);
        } else {
            QList<int> free;
            for (int c = 0; c < Cell::Count; ++c) {
                if (position.isFree(c))
                    free.append(c);
            }
            cell = free[qsizetype(random.bounded(quint32(free.size())))];
        }
        Q_ASSERT(position.isFree(cell));
        if (const int points = scoreByRules(states, cell, marks[turn]))
            return turn == 0 ? points : -points;
    }
    return 0;
}

} // namespace

class ComputerPlayerTest : public QObject
{
    Q_OBJECT

private slots:
    void sempurnaIsPerfect_data()
    {
        QTest::addColumn<QString>("computer");
        QTest::addColumn<bool>("computerFirst");
        QTest::newRow("player O first") << QStringLiteral("X") << false;
        QTest::newRow("computer O first") << QStringLiteral("O") << true;
        // After a restart the turn stays where it was, so either mark may open a game.
        QTest::newRow("player X first") << QStringLiteral("O") << false;
        QTest::newRow("computer X first") << QStringLiteral("X") << true;
    }

    // A proof over the whole tree: at every turn of the computer in every game the player
    // can play, the worst outcome of its choices equals the best the position allows (so it
    // never loses, since the empty board is no loss, and it wins what can be won, as soon as
    // it can and for as many points as it can).
    void sempurnaIsPerfect()
    {
        QFETCH(QString, computer);
        QFETCH(bool, computerFirst);
        PolicyWalk walk(computer);
        const int outcome = walk.worst(States{}, computerFirst);
        QVERIFY2(walk.failures.isEmpty(), qPrintable(walk.failures.mid(0, 5).join(u'\n')));
        QCOMPARE_GE(outcome, 0);
        QCOMPARE_GT(walk.computerTurns, 100);
    }

    void bestMoves_data()
    {
        QTest::addColumn<QString>("board");
        QTest::addColumn<QString>("computer");
        QTest::addColumn<QList<int>>("expected");
        // A line now rather than the same line later.
        QTest::newRow("win at once") << "XO./X.O/..." << "X" << QList<int>{Cell::indexOf(u"A3")};
        // The plus pattern (3) rather than column B (1), both open now.
        QTest::newRow("plus before line")
            << "OX./X.X/OX." << "X" << QList<int>{Cell::indexOf(u"B2")};
        // A3 would score column A now; the plus on B2 scores three.
        QTest::newRow("plus over line, both now")
            << "XXO/X.X/.XO" << "X" << QList<int>{Cell::indexOf(u"B2")};
        // Lost either way (three threats): a line costs one, the plus three.
        QTest::newRow("lose a line, not the plus")
            << "XO./O.O/.OO" << "X" << QList<int>{Cell::indexOf(u"B2")};
        // Only B2 stops the plus, and it makes two diagonals at once.
        QTest::newRow("block the plus, then fork")
            << "XO./O.O/XO." << "X" << QList<int>{Cell::indexOf(u"B2")};
        // Every other point loses at once.
        QTest::newRow("the only block") << "O.X/.XO/..." << "O" << QList<int>{Cell::indexOf(u"A3")};
        // The scored column A counts for nobody (no diagonal through A3 for O); only the
        // block of X's column C is left.
        QTest::newRow("scored pieces block") << "oX./oOX/o.X" << "O" << QList<int>{Cell::indexOf(u"C1")};
    }

    void bestMoves()
    {
        QFETCH(QString, board);
        QFETCH(QString, computer);
        QFETCH(QList<int>, expected);
        const Position position = Position::fromStates(*Board::parse(board), computer);
        QCOMPARE(PerfectPlay::bestMoves(position), expected);
    }

    void sedangTakesAndBlocks_data()
    {
        QTest::addColumn<QString>("board");
        QTest::addColumn<QString>("computer");
        QTest::addColumn<QList<int>>("allowed");
        QTest::newRow("own win") << "XO./X.O/..." << "X" << QList<int>{Cell::indexOf(u"A3")};
        QTest::newRow("win before block")
            << "XOX/XO./..." << "X" << QList<int>{Cell::indexOf(u"A3")};
        QTest::newRow("block a line") << "OO./X../X.." << "X" << QList<int>{Cell::indexOf(u"C1")};
        QTest::newRow("block the diagonal")
            << "X.O/.X./O.." << "O" << QList<int>{Cell::indexOf(u"C3")};
        QTest::newRow("block the plus first")
            << "XO./O.O/.OO" << "X" << QList<int>{Cell::indexOf(u"B2")};
        QTest::newRow("scored line no threat")
            << "xO./x.O/x.." << "X"
            << QList<int>{Cell::indexOf(u"B2"), Cell::indexOf(u"C1"), Cell::indexOf(u"B3"),
                          Cell::indexOf(u"C3")};
    }

    // Every seed: the level never misses a win or a block that lies open.
    void sedangTakesAndBlocks()
    {
        QFETCH(QString, board);
        QFETCH(QString, computer);
        QFETCH(QList<int>, allowed);
        const Position position = Position::fromStates(*Board::parse(board), computer);
        for (quint32 seed = 1; seed <= 50; ++seed) {
            MoveChooser chooser(ComputerLevel::Sedang, seed);
            const int cell = chooser.choose(position);
            QVERIFY2(allowed.contains(cell), qPrintable(Cell::name(cell)));
        }
    }

    void mudahAgainstOthers()
    {
        QRandomGenerator random(7);
        int perfectWins = 0;
        int perfectLosses = 0;
        int winsOverRandom = 0;
        for (quint32 game = 0; game < 200; ++game) {
            MoveChooser mudah(ComputerLevel::Mudah, 1000 + game);
            MoveChooser perfect(ComputerLevel::Sempurna, 5000 + game);
            // Either side opens, by turns.
            const int outcome = game % 2 ? playGame(&mudah, &perfect, random)
                                         : -playGame(&perfect, &mudah, random);
            perfectWins += outcome < 0;
            perfectLosses += outcome > 0;
            MoveChooser mudah2(ComputerLevel::Mudah, 9000 + game);
            const int againstRandom = game % 2 ? playGame(&mudah2, nullptr, random)
                                               : -playGame(nullptr, &mudah2, random);
            winsOverRandom += againstRandom > 0;
        }
        QCOMPARE(perfectLosses, 0);
        QCOMPARE_GT(perfectWins, 100);
        QCOMPARE_GT(winsOverRandom, 20);
    }
};

QTEST_GUILESS_MAIN(ComputerPlayerTest)
#include "tst_computer_player.moc"
