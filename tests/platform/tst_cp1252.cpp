#include "platform/cp1252.h"

#include <QElapsedTimer>
#include <QTest>

class TestCp1252 : public QObject
{
    Q_OBJECT

private slots:
    void everyByteRoundTrips();
    void decodesByte_data();
    void decodesByte();
    void encodes_data();
    void encodes();
    void largeMessageIsFast();
};

void TestCp1252::everyByteRoundTrips()
{
    QByteArray all;
    for (int i = 0; i < 256; ++i)
        all.append(char(i));
    const QString text = Cp1252::decode(all);
    QCOMPARE(text.size(), 256);
    QCOMPARE(Cp1252::encode(text), all);
}

void TestCp1252::decodesByte_data()
{
    QTest::addColumn<int>("byte");
    QTest::addColumn<int>("unicode");

    QTest::newRow("A") << 0x41 << 0x0041;
    QTest::newRow("euro") << 0x80 << 0x20AC;
    QTest::newRow("undefined 81") << 0x81 << 0x0081;
    QTest::newRow("S caron") << 0x8A << 0x0160;
    QTest::newRow("left quote") << 0x91 << 0x2018;
    QTest::newRow("undefined 9D") << 0x9D << 0x009D;
    QTest::newRow("Y diaeresis") << 0x9F << 0x0178;
    QTest::newRow("no-break space") << 0xA0 << 0x00A0;
    QTest::newRow("y diaeresis") << 0xFF << 0x00FF;
}

void TestCp1252::decodesByte()
{
    QFETCH(int, byte);
    QFETCH(int, unicode);
    QCOMPARE(int(Cp1252::decode(QByteArray(1, char(byte))).at(0).unicode()), unicode);
    QCOMPARE(int(Cp1252::toUnicode(uchar(byte))), unicode);
}

void TestCp1252::encodes_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("ascii") << QStringLiteral("B2 msg:hai") << QByteArray("B2 msg:hai");
    QTest::newRow("euro in text") << QStringLiteral("a\u20ACb") << QByteArray("a\x80" "b");
    QTest::newRow("latin-1") << QStringLiteral("caf\u00E9 \u00FF") << QByteArray("caf\xE9 \xFF");
    // C1 controls other than the five undefined bytes are not in the code page.
    QTest::newRow("C1 80") << QStringLiteral("\u0080") << QByteArray("?");
    QTest::newRow("C1 9D") << QStringLiteral("\u009D") << QByteArray("\x9D");
    QTest::newRow("cyrillic") << QStringLiteral("\u0416") << QByteArray("?");
    QTest::newRow("cjk") << QStringLiteral("\u65E5\u672C") << QByteArray("??");
    QTest::newRow("emoji is one char") << QStringLiteral("a\U0001F600b") << QByteArray("a?b");
    QTest::newRow("lone high surrogate") << QString(QChar(0xD83D)) + u'x' << QByteArray("?x");
    QTest::newRow("NUL kept") << QString(QChar(0)) << QByteArray(1, '\0');
}

void TestCp1252::encodes()
{
    QFETCH(QString, text);
    QTEST(Cp1252::encode(text), "bytes");
}

void TestCp1252::largeMessageIsFast()
{
    QByteArray message(1024 * 1024, Qt::Uninitialized);
    for (qsizetype i = 0; i < message.size(); ++i)
        message[i] = char(i * 7);
    QElapsedTimer timer;
    timer.start();
    const QString text = Cp1252::decode(message);
    const QByteArray back = Cp1252::encode(text);
    // Generous: a table lookup per byte takes about a millisecond for both directions;
    // this only catches work that grows faster than the message.
    QVERIFY2(timer.elapsed() < 500, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(back, message);
}

QTEST_GUILESS_MAIN(TestCp1252)
#include "tst_cp1252.moc"
