#include "rules/board.h"
#include "rules/win_rules.h"

#include <QSignalSpy>
#include <QTest>

namespace {

// "O+ +3", "X7 -1", "X+ them+3": mark, line number or '+', and the change it makes.
QString describe(const QList<WinResult> &results)
{
    QStringList parts;
    for (const WinResult &r : results) {
        const QString which = r.mark + (r.isPlus() ? QStringLiteral("+") : QString::number(r.line));
        const QString change = r.opponentChange
                                   ? QStringLiteral("them+%1").arg(r.opponentChange)
                                   : QString::asprintf("%+d", r.ownChange);
        parts << which + u' ' + change;
    }
    return parts.join(QStringLiteral(", "));
}

} // namespace

class TestWinRules : public QObject
{
    Q_OBJECT

private slots:
    void tick_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("localMark");
        QTest::addColumn<QString>("after");
        QTest::addColumn<QString>("results");

        QTest::newRow("empty board") << ".../.../..." << "O" << ".../.../..." << "";
        QTest::newRow("full board without a line")
            << "XOX/XOO/OXX" << "O" << "XOX/XOO/OXX" << "";
        QTest::newRow("own column A") << "O../O../O.." << "O" << "o../o../o.." << "O1 +1";
        QTest::newRow("opponent's diagonal A1-C3")
            << "X../.X./..X" << "O" << "x../.x./..x" << "X7 -1";
        QTest::newRow("diagonal A3-C1") << "..X/.X./X.." << "X" << "..x/.x./x.." << "X8 +1";
        QTest::newRow("own plus scores once for three, not its two lines")
            << ".O./OOO/.O." << "O" << ".o./ooo/.o." << "O+ +3";
        QTest::newRow("opponent's plus raises their total only")
            << ".O./OOO/.O." << "X" << ".o./ooo/.o." << "O+ them+3";
        QTest::newRow("column B and diagonal through B2: column B only")
            << "OO./.O./.OO" << "O" << "Oo./.o./.oO" << "O2 +1";
        QTest::newRow("two lines sharing a corner: first in table order")
            << "XXX/X../X.." << "X" << "xXX/x../x.." << "X1 +1";
        QTest::newRow("X tested before O") << "OOO/XXX/..." << "O" << "ooo/xxx/..." << "X5 -1, O4 +1";
        QTest::newRow("scored pieces never count again")
            << "xxX/.o./OOo" << "O" << "xxX/.o./OOo" << "";
        QTest::newRow("plus with one scored arm")
            << ".X./XXX/.x." << "X" << ".X./xxx/.x." << "X5 +1";
    }

    void tick()
    {
        QFETCH(QString, before);
        QFETCH(QString, localMark);

        Board board = Board::fromString(before);
        QTEST(describe(WinRules::tick(board, localMark)), "results");
        QTEST(board.toString(), "after");

        QSignalSpy changes(&board, &Board::stateChanged);
        QVERIFY(WinRules::tick(board, localMark).isEmpty());
        QCOMPARE(changes.count(), 0);
    }
};

QTEST_GUILESS_MAIN(TestWinRules)
#include "tst_win_rules.moc"
