#include "platform/cp1252.h"

#include <QElapsedTimer>
#include <QStringDecoder>
#include <QTest>

class TestCp1252 : public QObject
{
    Q_OBJECT

private slots:
    // Every byte as the system's own code page converter reads it (the five bytes the code
    // page leaves undefined pass through as the C1 controls of the same number), and back.
    void everyByte()
    {
        QByteArray all;
        for (int i = 0; i < 256; ++i)
            all.append(char(i));
        const QString text = Cp1252::decode(all);
        QCOMPARE(Cp1252::encode(text), all);
        QStringDecoder system("windows-1252");
        if (!system.isValid())
            QSKIP("no windows-1252 converter in this Qt");
        const QString expected = system.decode(all);
        for (int i = 0; i < 256; ++i) {
            QCOMPARE(int(text.at(i).unicode()), int(expected.at(i).unicode()));
            QCOMPARE(int(Cp1252::toUnicode(uchar(i))), int(expected.at(i).unicode()));
        }
    }

    void encodes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("euro, latin-1") << QStringLiteral("a\u20ACb caf\u00E9 \u00FF") << QByteArray("a\x80" "b caf\xE9 \xFF");
        // C1 controls other than the five undefined bytes are not in the code page.
        QTest::newRow("C1 80 and 9D") << QStringLiteral("\u0080\u009D") << QByteArray("?\x9D");
        QTest::newRow("cyrillic, cjk") << QStringLiteral("\u0416\u65E5\u672C") << QByteArray("???");
        QTest::newRow("emoji is one char") << QStringLiteral("a\U0001F600b") << QByteArray("a?b");
        QTest::newRow("lone high surrogate") << QString(QChar(0xD83D)) + u'x' << QByteArray("?x");
        QTest::newRow("NUL kept") << QString(QChar(0)) << QByteArray(1, '\0');
    }

    void encodes()
    {
        QFETCH(QString, text);
        QTEST(Cp1252::encode(text), "bytes");
    }

    void largeMessageIsFast()
    {
        QByteArray message(1024 * 1024, Qt::Uninitialized);
        for (qsizetype i = 0; i < message.size(); ++i)
            message[i] = char(i * 7);
        QElapsedTimer timer;
        timer.start();
        const QByteArray back = Cp1252::encode(Cp1252::decode(message));
        // Generous: a table lookup per byte takes about a millisecond for both directions;
        // this only catches work that grows faster than the message.
        QVERIFY2(timer.elapsed() < 500, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(back, message);
    }
};

QTEST_GUILESS_MAIN(TestCp1252)
#include "tst_cp1252.moc"
