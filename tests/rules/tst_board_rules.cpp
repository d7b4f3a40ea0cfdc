#include "rules/board.h"
#include "rules/cell.h"
#include "rules/total_text.h"

#include <QTest>

class TestBoardRules : public QObject
{
    Q_OBJECT

private slots:
    void cellPlaces_data();
    void cellPlaces();
    void notPointNames_data();
    void notPointNames();
    void notation();
    void totals_data();
    void totals();
};

void TestBoardRules::cellPlaces_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("index");
    QTest::addColumn<QRect>("rect");
    QTest::newRow("A1 top-left") << "A1" << 0 << QRect(152, 88, 65, 65);
    QTest::newRow("A3 bottom-left") << "A3" << 2 << QRect(152, 216, 65, 65);
    QTest::newRow("B2 centre") << "B2" << 4 << QRect(216, 152, 65, 65);
    QTest::newRow("C1 top-right") << "C1" << 6 << QRect(280, 88, 65, 65);
    QTest::newRow("C3 bottom-right") << "C3" << 8 << QRect(280, 216, 65, 65);
}

void TestBoardRules::cellPlaces()
{
    QFETCH(QString, name);
    QFETCH(int, index);
    QFETCH(QRect, rect);
    QCOMPARE(Cell::indexOf(name), index);
    QCOMPARE(Cell::name(index), name);
    QCOMPARE(Cell::rect(index), rect);
}

void TestBoardRules::notPointNames_data()
{
    QTest::addColumn<QString>("message");
    for (const char *text : {"", "a1", "c3", "A1 ", " B2", "B2B2", "D1", "A4", "X", "$B2", "msg: B2"})
        QTest::newRow(text) << QString::fromLatin1(text);
}

void TestBoardRules::notPointNames()
{
    QFETCH(QString, message);
    QCOMPARE(Cell::indexOf(message), -1);
}

void TestBoardRules::notation()
{
    Board board = Board::fromString(u"O.X/.o./x.?");  // '?' is not accepted on input
    QCOMPARE(board.toString(), QStringLiteral(".../.../..."));

    board.setStates(*Board::parse(u"O.X/.o./x.."));
    QCOMPARE(board.state(Cell::indexOf(u"A1")), QStringLiteral("O"));
    QCOMPARE(board.state(Cell::indexOf(u"C1")), QStringLiteral("X"));
    QCOMPARE(board.state(Cell::indexOf(u"B2")), QStringLiteral("O2"));
    QCOMPARE(board.state(Cell::indexOf(u"A3")), QStringLiteral("X2"));
    board.setState(Cell::indexOf(u"C3"), QStringLiteral("x"));
    QCOMPARE(board.toString(), QStringLiteral("O.X/.o./x.?"));

    for (const char *bad : {"", "O.X/.O.", "O.X/.O./X.O/...", "O.XX/.O./X.", "0.X/.O./X.O"})
        QVERIFY2(!Board::parse(QString::fromLatin1(bad)), bad);
}

void TestBoardRules::totals_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("delta");
    QTest::addColumn<QString>("sum");
    QTest::newRow("win") << "0" << qint64(1) << "1";
    QTest::newRow("below zero") << "0" << qint64(-1) << "-1";
    QTest::newRow("back to zero") << "-1" << qint64(1) << "0";
    QTest::newRow("plus") << "12" << qint64(3) << "15";
    QTest::newRow("blanks and sign") << " +7 " << qint64(1) << "8";
    QTest::newRow("leading zeros") << "007" << qint64(1) << "8";
    QTest::newRow("empty label") << "" << qint64(3) << "3";
    QTest::newRow("words") << "sepuluh" << qint64(3) << "3";
    QTest::newRow("fraction") << "2.5" << qint64(1) << "1";
    QTest::newRow("exponent") << "1e3" << qint64(1) << "1";
    QTest::newRow("lone minus") << "-" << qint64(-1) << "-1";
    QTest::newRow("saturates") << "9223372036854775807" << qint64(3) << "9223372036854775807";
    QTest::newRow("too long") << "99999999999999999999" << qint64(1) << "1";
}

void TestBoardRules::totals()
{
    QFETCH(QString, text);
    QFETCH(qint64, delta);
    QTEST(TotalText::add(text, delta), "sum");
}

QTEST_GUILESS_MAIN(TestBoardRules)
#include "tst_board_rules.moc"
