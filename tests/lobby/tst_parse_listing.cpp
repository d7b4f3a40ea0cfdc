#include "lobby/parse_listing.h"

#include <QRandomGenerator>
#include <QTest>

class TestParseListing : public QObject
{
    Q_OBJECT

private slots:
    void parse_data();
    void parse();
    void randomInput();
};

void TestParseListing::parse_data()
{
    QTest::addColumn<QString>("response");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("two names") << QStringLiteral("10.0.0.7\r\n10.0.0.9\r\n")
                               << QStringList{"10.0.0.7", "10.0.0.9"};
    QTest::newRow("last name without CR is dropped")
        << QStringLiteral("10.0.0.7\r\n10.0.0.9") << QStringList{"10.0.0.7"};
    QTest::newRow("blanks stay in front of the next name")
        << QStringLiteral("\r\n  \r\n10.0.0.9\r\n") << QStringList{"  10.0.0.9"};
    QTest::newRow("LF alone never ends a line")
        << QStringLiteral("10.0.0.7\n10.0.0.9\r") << QStringList{"10.0.0.710.0.0.9"};
    QTest::newRow("empty") << QString() << QStringList{};
    QTest::newRow("only line ends") << QStringLiteral("\r\n\r\n\r") << QStringList{};
    QTest::newRow("blanks only, never a name") << QStringLiteral("   \r\n \r\n") << QStringList{};
    QTest::newRow("CR alone ends a line") << QStringLiteral("a\rb\r") << QStringList{"a", "b"};
    QTest::newRow("trailing blanks kept") << QStringLiteral("10.0.0.7  \r\n")
                                          << QStringList{"10.0.0.7  "};
    QTest::newRow("blanks of several blank lines add up")
        << QStringLiteral(" \r \r\nx\r") << QStringList{"  x"};
    QTest::newRow("a tab is not a blank") << QStringLiteral("\t\r10.0.0.9\r")
                                          << QStringList{"\t", "10.0.0.9"};
    QTest::newRow("a line longer than any file name is dropped")
        << QString(QString(256, u'7') + QStringLiteral("\r\n") + QString(255, u'9') + u'\r')
        << QStringList{QString(255, u'9')};
    QTest::newRow("LF inside a name is dropped") << QStringLiteral("10.0\n.0.7\r\n")
                                                 << QStringList{"10.0.0.7"};
    QTest::newRow("LF CR order") << QStringLiteral("a\n\rb\n\r") << QStringList{"a", "b"};
    QTest::newRow("name with blanks inside") << QStringLiteral("[Nomor IP]\r\n")
                                             << QStringList{"[Nomor IP]"};
}

void TestParseListing::parse()
{
    QFETCH(QString, response);
    QTEST(ParseListing(response), "lines");
}

// Whatever arrives, the lines are the input without its line feeds, cut into pieces at
// carriage returns; only blanks of blank lines and the unterminated tail are left over.
void TestParseListing::randomInput()
{
    QRandomGenerator random(20240611);
    const QString alphabet = QStringLiteral("\r\n\r\n    ..1270aZ[]\t");
    for (int round = 0; round < 3000; ++round) {
        QString input;
        const int length = random.bounded(0, 80);
        for (int i = 0; i < length; ++i) {
            if (random.bounded(8) == 0)
                input.append(QChar(char16_t(random.bounded(0, 0xD800))));
            else
                input.append(alphabet.at(random.bounded(alphabet.size())));
        }

        const QStringList lines = ParseListing(input);

        QString withoutLf = input;
        withoutLf.remove(u'\n');
        const qsizetype lastCr = withoutLf.lastIndexOf(u'\r');
        QString walked = lastCr < 0 ? QString() : withoutLf.left(lastCr);
        walked.remove(u'\r');
        const QString joined = lines.join(QString());

        QVERIFY2(lines.size() <= input.count(u'\r'), qPrintable(input.toUtf8().toHex()));
        for (const QString &line : lines) {
            QVERIFY(!line.contains(u'\r') && !line.contains(u'\n'));
            QVERIFY(line.count(u' ') < line.size());
        }
        QVERIFY2(walked.startsWith(joined), qPrintable(input.toUtf8().toHex()));
        const QString leftOver = walked.mid(joined.size());
        QVERIFY2(leftOver.count(u' ') == leftOver.size(), qPrintable(input.toUtf8().toHex()));

        // The lines written back with CR LF read the same.
        if (!lines.isEmpty())
            QCOMPARE(ParseListing(lines.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n")),
                     lines);
    }
}

QTEST_GUILESS_MAIN(TestParseListing)
#include "tst_parse_listing.moc"
