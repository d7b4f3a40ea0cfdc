#include "lobby/parse_listing.h"

#include <QTest>

// Random input is the fuzz target's, which holds the parser to the rules taken literally.
class TestParseListing : public QObject
{
    Q_OBJECT

private slots:
    void parse_data()
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
        QTest::newRow("CR alone ends a line") << QStringLiteral("a\rb\r") << QStringList{"a", "b"};
        QTest::newRow("trailing blanks kept") << QStringLiteral("10.0.0.7  \r\n")
                                              << QStringList{"10.0.0.7  "};
        QTest::newRow("a tab is not a blank") << QStringLiteral("\t\r10.0.0.9\r")
                                              << QStringList{"\t", "10.0.0.9"};
        QTest::newRow("a line longer than any file name is dropped")
            << QString(QString(256, u'7') + QStringLiteral("\r\n") + QString(255, u'9') + u'\r')
            << QStringList{QString(255, u'9')};
        QTest::newRow("name with blanks inside") << QStringLiteral("[Nomor IP]\r\n")
                                                 << QStringList{"[Nomor IP]"};
    }

    void parse()
    {
        QFETCH(QString, response);
        QTEST(ParseListing(response), "lines");
    }
};

QTEST_GUILESS_MAIN(TestParseListing)
#include "tst_parse_listing.moc"
