#include "platform/rtf_document.h"
#include "support/test_files.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

QByteArray document(const QByteArray &body)
{
    return "{\\rtf1\\ansi\\ansicpg1252\\deff0\\deflang1033"
           "{\\fonttbl{\\f0\\fnil\\fcharset0 MS Sans Serif;}}\r\n"
           "\\viewkind4\\uc1\\pard\\f0\\fs17 "
           + body + "\\par\r\n}\r\n";
}

} // namespace

// Random bytes and random texts are the fuzz target's; here the bytes the old program's
// files hold, real word processors' documents, and the broken ends a parser trips on.
class TestRtfDocument : public QObject
{
    Q_OBJECT

private slots:
    void writes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");  // empty: only the way back is checked
        QTest::newRow("score 0") << "0"
            << QByteArray("{\\rtf1\\ansi\\ansicpg1252\\deff0\\deflang1033{\\fonttbl{\\f0\\fnil"
                          "\\fcharset0 MS Sans Serif;}}\r\n\\viewkind4\\uc1\\pard\\f0\\fs17 0\\par\r\n}\r\n");
        QTest::newRow("braces, backslash, tab, control") << "a\\b{c}\td\u0001" << document("a\\\\b\\{c\\}\\tab d\\'01");
        QTest::newRow("cp1252 letters") << "caf\u00E9 \u20AC" << document("caf\\'e9 \\'80");
        QTest::newRow("outside cp1252, signed, two units")
            << "\u03A9\uF8FF\U0001F600" << document("\\u937?\\u-1793?\\u-10179?\\u-8704?");
        QTest::newRow("line breaks") << "a\nb\r\nc\rd" << document("a\\par\r\nb\\par\r\nc\\par\r\nd");
        QTest::newRow("spaces kept") << "  a  b  " << QByteArray();
        QTest::newRow("digit after escape") << "\u00E91\u03A92\t3" << QByteArray();
        QTest::newRow("RTF words as text") << "{}\\ {\\par} \\'41" << QByteArray();
        QTest::newRow("line ends first, last, before a space") << "\na\n b\n" << QByteArray();
        QTest::newRow("only a line end") << "\n" << QByteArray();
    }

    void writes()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);
        if (!bytes.isEmpty())
            QCOMPARE(RtfDocument::write(text), bytes);
        if (!text.contains(u'\r')) {
            QCOMPARE(RtfDocument::readText(RtfDocument::write(text)), text);
            // Files from the old program end with a NUL after the closing brace.
            QCOMPARE(RtfDocument::readText(RtfDocument::write(text) + '\0'), text);
        }
    }

    void reads_data()
    {
        QTest::addColumn<QByteArray>("rtf");
        QTest::addColumn<QString>("text");
        QTest::newRow("wordpad")
            << QByteArray("{\\rtf1\\ansi\\ansicpg1252\\deff0\\nouicompat\\deflang1033{\\fonttbl{\\f0"
                          "\\fnil\\fcharset0 Calibri;}}\r\n{\\*\\generator Riched20 10.0.19041}"
                          "\\viewkind4\\uc1 \r\n\\pard\\sa200\\sl276\\slmult1\\f0\\fs22\\lang9 "
                          "Hello World\\par\r\n}\r\n") + '\0'
            << "Hello World";
        QTest::newRow("word")
            << QByteArray("{\\rtf1\\adeflang1025\\ansi\\ansicpg1252\\uc1\\adeff0\\deff0"
                          "{\\fonttbl{\\f0\\froman\\fcharset0\\fprq2{\\*\\panose 02020603050405020304}"
                          "Times New Roman;}{\\f1\\fswiss Arial{\\*\\falt Helvetica};}}\r\n"
                          "{\\colortbl;\\red0\\green0\\blue0;\\red255\\green0\\blue0;}\r\n"
                          "{\\stylesheet{\\ql \\li0\\ri0 \\snext0 Normal;}{\\*\\cs10 \\additive "
                          "Default Paragraph Font;}}\r\n{\\*\\rsidtbl \\rsid1234}{\\info{\\title Score}"
                          "{\\author Someone}{\\creatim\\yr2024\\mo1\\dy2}}\r\n"
                          "{\\*\\latentstyles\\lsdstimax376{\\lsdlockedexcept Normal;}}"
                          "\\pard\\plain \\ltrpar\\ql {\\rtlch \\ab\\af1 \\ltrch\\b\\f1 Caf\\'e9}"
                          "{\\f1  \\ldblquote 42\\rdblquote }{\\*\\bkmkstart x}{\\*\\bkmkend x}"
                          "\\par }")
            << "Caf\u00E9 \u201C42\u201D";
        QTest::newRow("groups, escapes, symbols, hex")
            << QByteArray("{\\rtf1 a{\\b b{\\i c}}d\\{x\\}\\\\y\\~z\\-w\\_v\\emdash\\bullet\\'C9\\'e9caf\xe9}")
            << "abcd{x}\\y\u00A0zw-v\u2014\u2022\u00C9\u00E9caf\u00E9";
        QTest::newRow("unicode skips")
            << QByteArray("{\\rtf1\\uc1 \\u233?{\\uc0 a}\\u20013?\\uc2\\u20013\\'3f\\'3f{\\uc0\\u233 x}"
                          "\\uc1\\u-10179?\\u-8704?}")
            << "\u00E9a\u4E2D\u4E2D\u00E9x\U0001F600";
        QTest::newRow("breaks: only the last paragraph end dropped")
            << QByteArray("{\\rtf1 a\\line b\\tab c\\par d\\\ne\r\nf\\par\\par}") << "a\nb\tc\nd\nef\n";
        QTest::newRow("hidden text skipped")
            << QByteArray("{\\rtf1 see {\\field{\\*\\fldinst HYPERLINK \"http://x\"}{\\fldrslt {\\ul site}}}."
                          "{\\pict\\wmetafile8\\picw10 0123456789abcdef}"
                          "{\\*\\foo hidden {nested}}\\foo123 bar\\baz-4 qux\\bin3 }{\\b}")
            << "see site.barquxb";
        // Not RTF: the text of the file, as a rich-text box shows it.
        QTest::newRow("empty") << QByteArray() << "";
        QTest::newRow("plain lines") << QByteArray("a\r\nb\rc\n") << "a\nb\nc";
        QTest::newRow("plain cp1252") << QByteArray("caf\xe9 \x80") << "caf\u00E9 \u20AC";
        QTest::newRow("plain utf-8 with mark") << QByteArray("\xEF\xBB\xBF" "caf\xC3\xA9") << "caf\u00E9";
        QTest::newRow("rtf lowercase only") << QByteArray("{\\RTF1 x}") << "{\\RTF1 x}";
        // Broken RTF: the text read so far. What any other break reads does not matter (a
        // score file that is not a number is set aside); that it never fails is the fuzz
        // target's, which starts from such breaks.
        QTest::newRow("cut short") << QByteArray("{\\rtf1 abc\\par") << "abc";
        QTest::newRow("embedded NUL dropped") << QByteArray("{\\rtf1 a\0b}", 11) << "ab";
        // Work that grows with the square of the input, or a stack per group, shows here.
        const QByteArray open(100000, '{');
        const QByteArray close(100000, '}');
        QTest::newRow("deep nesting") << "{\\rtf1 " + open + "x" + close + "y}" << "xy";
        QTest::newRow("deep skipped group") << "{\\rtf1 {\\fonttbl" + open + "hidden" + close + "}z}" << "z";
        QTest::newRow("10 MB of open braces") << "{\\rtf1 a" + QByteArray(10 << 20, '{') << "a";
        QByteArray big = "{\\rtf1\\ansi ";
        QString bigText;
        while (big.size() < 10 << 20) {
            big += "The quick brown fox \\'e9\\u937? {\\b jumps}\\par\r\n";
            bigText += u"The quick brown fox \u00E9\u03A9 jumps\n";
        }
        QTest::newRow("10 MB document") << big + '}' << bigText.chopped(1);
    }

    void reads()
    {
        QFETCH(QByteArray, rtf);
        QFETCH(QString, text);
        QElapsedTimer timer;
        timer.start();
        const QString read = RtfDocument::readText(rtf);
        // Very generous: reading is linear and takes tens of milliseconds here.
        QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(read, text);
    }

    void savesAndLoads()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("dvq"));
        const QString text = QStringLiteral("Bud{i}\\ \u00E9\u4E2D\nbaris");
        // A longer old file is replaced whole, not overwritten in place.
        QVERIFY(TestFiles::write(path, QByteArray(5000, 'x')));
        QString error = QStringLiteral("stale");
        QVERIFY(RtfDocument::save(path, text, &error));
        QVERIFY(error.isEmpty());
        QCOMPARE(TestFiles::read(path), RtfDocument::write(text));
        auto status = RtfDocument::LoadStatus::Missing;
        QCOMPARE(RtfDocument::load(path, &status), text);
        QCOMPARE(status, RtfDocument::LoadStatus::Ok);
        // Nothing but the file is left behind by the atomic save.
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList{"dvq"});

        // No folder, or a folder standing where the file should be: a reason, the folder kept.
        QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("folder"))));
        for (const char *name : {"no/such/dvq", "folder"}) {
            error.clear();
            QVERIFY(!RtfDocument::save(dir.filePath(QLatin1String(name)), QStringLiteral("0"), &error));
            QVERIFY2(!error.isEmpty(), name);
        }
        QVERIFY(QFileInfo(dir.filePath(QStringLiteral("folder"))).isDir());
    }

    void loadTellsMissingFromUnreadable()
    {
        using Status = RtfDocument::LoadStatus;
        QTemporaryDir dir;
        const auto loads = [&dir](const char *name, Status expected) {
            Status status = expected == Status::Ok ? Status::Missing : Status::Ok;
            const QString text = RtfDocument::load(dir.filePath(QLatin1String(name)), &status);
            return text.isEmpty() && status == expected;
        };
        QVERIFY(loads("absent", Status::Missing));
        QVERIFY(loads("", Status::Unreadable));  // the folder itself
        QVERIFY(TestFiles::write(dir.filePath("big"), RtfDocument::write(QString(2 << 20, u'9'))));
        QVERIFY(loads("big", Status::Unreadable));
        QVERIFY(TestFiles::write(dir.filePath("empty"), QByteArray()));
        QVERIFY(loads("empty", Status::Ok));
#ifdef Q_OS_UNIX
        // A pipe would block a reader that waits for its end.
        QCOMPARE(::mkfifo(QFile::encodeName(dir.filePath("pipe")).constData(), 0600), 0);
        QVERIFY(loads("pipe", Status::Unreadable));
        QVERIFY(TestFiles::write(dir.filePath("locked"), RtfDocument::write(QStringLiteral("1"))));
        QVERIFY(QFile::setPermissions(dir.filePath("locked"), QFileDevice::Permissions()));
        if (::geteuid() != 0)
            QVERIFY(loads("locked", Status::Unreadable));
#endif
    }
};

QTEST_GUILESS_MAIN(TestRtfDocument)
#include "tst_rtf_document.moc"
