#include "rules/cell.h"
#include "rules/total_text.h"

#include <QTest>

class TestBoardRules : public QObject
{
    Q_OBJECT

private slots:
    // The letter is the column from the left, the digit the row from the top: A3 is the
    // bottom-left point, C1 the top-right. Only exact names are points.
    void cells()
    {
        for (int i = 0; i < Cell::Count; ++i) {
            const QString a = Cell::name(i);
            QCOMPARE(Cell::indexOf(a), i);
            for (int j = 0; j < Cell::Count; ++j) {
                const QString b = Cell::name(j);
                const QPoint d = Cell::rect(i).center() - Cell::rect(j).center();
                QVERIFY2((d.x() > 0) == (a[0] > b[0]) && (d.y() > 0) == (a[1] > b[1]), qPrintable(a + b));
            }
        }
        for (const char *text : {"", "a1", "c3", "A1 ", " B2", "B2B2", "D1", "A4", "X", "$B2", "msg: B2"})
            QVERIFY2(Cell::indexOf(QString::fromLatin1(text)) == -1, text);
    }

    void totals_data()
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

    void totals()
    {
        QFETCH(QString, text);
        QFETCH(qint64, delta);
        QTEST(TotalText::add(text, delta), "sum");
    }
};

QTEST_GUILESS_MAIN(TestBoardRules)
#include "tst_board_rules.moc"
