#include "platform/rtf_document.h"
#include "support/test_files.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

const QByteArray header =
    "{\\rtf1\\ansi\\ansicpg1252\\deff0\\deflang1033"
    "{\\fonttbl{\\f0\\fnil\\fcharset0 MS Sans Serif;}}\r\n"
    "\\viewkind4\\uc1\\pard\\f0\\fs17 ";

QByteArray document(const QByteArray &body)
{
    return header + body + "\\par\r\n}\r\n";
}


} // namespace

class TestRtfDocument : public QObject
{
    Q_OBJECT

private slots:
    void writesExactBytes_data();
    void writesExactBytes();
    void roundTrips_data();
    void roundTrips();
    void reads_data();
    void reads();
    void survivesHugeAndHostileInput_data();
    void survivesHugeAndHostileInput();
    void savesAndLoads_data();
    void savesAndLoads();
    void saveFailsWithReason();
    void loadTellsMissingFromUnreadable();
};

void TestRtfDocument::writesExactBytes_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("score 0")
        << QStringLiteral("0")
        << QByteArray("{\\rtf1\\ansi\\ansicpg1252\\deff0\\deflang1033{\\fonttbl{\\f0\\fnil"
                      "\\fcharset0 MS Sans Serif;}}\r\n\\viewkind4\\uc1\\pard\\f0\\fs17 0\\par\r\n"
                      "}\r\n");
    QTest::newRow("empty") << QString() << document("");
    QTest::newRow("braces and backslash") << QStringLiteral("a\\b{c}") << document("a\\\\b\\{c\\}");
    QTest::newRow("cp1252 letters") << QStringLiteral("caf\u00E9 \u20AC") << document("caf\\'e9 \\'80");
    QTest::newRow("outside cp1252") << QStringLiteral("\u03A9\u4E2D") << document("\\u937?\\u20013?");
    QTest::newRow("signed 16-bit") << QStringLiteral("\uF8FF") << document("\\u-1793?");
    QTest::newRow("emoji as two units")
        << QStringLiteral("\U0001F600") << document("\\u-10179?\\u-8704?");
    QTest::newRow("line breaks") << QStringLiteral("a\nb\r\nc\rd")
                                 << document("a\\par\r\nb\\par\r\nc\\par\r\nd");
    QTest::newRow("tab") << QStringLiteral("a\tb") << document("a\\tab b");
    QTest::newRow("control char") << QStringLiteral("a\u0001b") << document("a\\'01b");
}

void TestRtfDocument::writesExactBytes()
{
    QFETCH(QString, text);
    QTEST(RtfDocument::write(text), "bytes");
}

void TestRtfDocument::roundTrips_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("spaces kept") << QStringLiteral("  a  b  ");
    QTest::newRow("digit after escape") << QStringLiteral("\u00E91\u03A92\t3");
    QTest::newRow("specials") << QStringLiteral("{}\\ {\\par} \\'41");
    QTest::newRow("trailing line") << QStringLiteral("a\n");
    QTest::newRow("only line") << QStringLiteral("\n");
    QTest::newRow("space after line") << QStringLiteral("a\n b");
    QTest::newRow("unicode") << QStringLiteral("\u00E9\u20AC\u03A9\u4E2D\U0001F600\u0081");
}

void TestRtfDocument::roundTrips()
{
    QFETCH(QString, text);
    QCOMPARE(RtfDocument::readText(RtfDocument::write(text)), text);
    // Files from the old program end with a NUL after the closing brace.
    QCOMPARE(RtfDocument::readText(RtfDocument::write(text) + '\0'), text);
}

void TestRtfDocument::reads_data()
{
    QTest::addColumn<QByteArray>("rtf");
    QTest::addColumn<QString>("text");

    QTest::newRow("wordpad")
        << QByteArray("{\\rtf1\\ansi\\ansicpg1252\\deff0\\nouicompat\\deflang1033{\\fonttbl{\\f0"
                      "\\fnil\\fcharset0 Calibri;}}\r\n{\\*\\generator Riched20 10.0.19041}"
                      "\\viewkind4\\uc1 \r\n\\pard\\sa200\\sl276\\slmult1\\f0\\fs22\\lang9 "
                      "Hello World\\par\r\n}\r\n") + '\0'
        << QStringLiteral("Hello World");
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
        << QStringLiteral("Caf\u00E9 \u201C42\u201D");
    QTest::newRow("nested groups") << QByteArray("{\\rtf1 a{\\b b{\\i c}}d}") << QStringLiteral("abcd");
    QTest::newRow("unicode uc1")
        << QByteArray("{\\rtf1\\uc1 Caf\\u233?s \\u20013?}") << QStringLiteral("Caf\u00E9s \u4E2D");
    QTest::newRow("unicode uc2 hex fallback")
        << QByteArray("{\\rtf1\\uc2\\u20013\\'3f\\'3fx}") << QStringLiteral("\u4E2Dx");
    QTest::newRow("unicode uc0") << QByteArray("{\\rtf1\\uc0\\u233 x}") << QStringLiteral("\u00E9x");
    QTest::newRow("uc scoped to group")
        << QByteArray("{\\rtf1{\\uc0 a}\\u233?b}") << QStringLiteral("a\u00E9b");
    QTest::newRow("surrogate pair")
        << QByteArray("{\\rtf1\\u-10179?\\u-8704?}") << QStringLiteral("\U0001F600");
    QTest::newRow("escapes") << QByteArray("{\\rtf1 \\{x\\}\\\\y\\~z\\-w\\_v}")
                             << QStringLiteral("{x}\\y\u00A0zw-v");
    QTest::newRow("line and tab") << QByteArray("{\\rtf1 a\\line b\\tab c}")
                                  << QStringLiteral("a\nb\tc");
    QTest::newRow("paragraphs") << QByteArray("{\\rtf1 a\\par b\\par}") << QStringLiteral("a\nb");
    QTest::newRow("only last paragraph end dropped")
        << QByteArray("{\\rtf1 a\\par\\par}") << QStringLiteral("a\n");
    QTest::newRow("backslash newline is paragraph")
        << QByteArray("{\\rtf1 a\\\nb}") << QStringLiteral("a\nb");
    QTest::newRow("CR LF ignored") << QByteArray("{\\rtf1 ab\r\ncd\r\n\\par\r\n}")
                                   << QStringLiteral("abcd");
    QTest::newRow("field result kept")
        << QByteArray("{\\rtf1 see {\\field{\\*\\fldinst HYPERLINK \"http://x\"}{\\fldrslt "
                      "{\\ul site}}}.}")
        << QStringLiteral("see site.");
    QTest::newRow("picture skipped")
        << QByteArray("{\\rtf1 x{\\pict\\wmetafile8\\picw10 0123456789abcdef}y}")
        << QStringLiteral("xy");
    QTest::newRow("binary data skipped")
        << QByteArray("{\\rtf1 a\\bin3 }{\\b}") << QStringLiteral("ab");
    QTest::newRow("unknown destination skipped")
        << QByteArray("{\\rtf1 a{\\*\\foo hidden {nested}}b}") << QStringLiteral("ab");
    QTest::newRow("unknown words ignored")
        << QByteArray("{\\rtf1\\foo123 bar\\baz-4 qux}") << QStringLiteral("barqux");
    QTest::newRow("uppercase hex") << QByteArray("{\\rtf1 \\'C9\\'e9}") << QStringLiteral("\u00C9\u00E9");
    QTest::newRow("raw 8-bit bytes") << QByteArray("{\\rtf1 caf\xe9}") << QStringLiteral("caf\u00E9");
    QTest::newRow("symbols") << QByteArray("{\\rtf1 \\emdash\\endash\\bullet\\lquote\\rquote}")
                             << QStringLiteral("\u2014\u2013\u2022\u2018\u2019");
    // Not RTF: the text of the file, like a rich-text box shows it.
    QTest::newRow("empty") << QByteArray() << QString();
    QTest::newRow("plain lines") << QByteArray("a\r\nb\rc\n") << QStringLiteral("a\nb\nc");
    QTest::newRow("plain cp1252") << QByteArray("caf\xe9 \x80") << QStringLiteral("caf\u00E9 \u20AC");
    QTest::newRow("plain utf-8 with mark") << QByteArray("\xEF\xBB\xBF" "caf\xC3\xA9")
                                           << QStringLiteral("caf\u00E9");
    QTest::newRow("rtf lowercase only") << QByteArray("{\\RTF1 x}") << QStringLiteral("{\\RTF1 x}");
    // Broken RTF: the text read so far.
    QTest::newRow("no closing brace") << QByteArray("{\\rtf1 abc\\par") << QStringLiteral("abc");
    QTest::newRow("too many closing") << QByteArray("{\\rtf1 {a}}}} b}") << QStringLiteral("a");
    QTest::newRow("trailing backslash") << QByteArray("{\\rtf1 a\\") << QStringLiteral("a");
    QTest::newRow("hex cut short") << QByteArray("{\\rtf1 a\\'4") << QStringLiteral("a");
    QTest::newRow("hex not hex") << QByteArray("{\\rtf1 a\\'zz}") << QStringLiteral("azz");
    QTest::newRow("u without number") << QByteArray("{\\rtf1 \\u x}") << QStringLiteral("x");
    QTest::newRow("huge numbers") << QByteArray("{\\rtf1 \\u99999999999999999999 \\uc99999999999 x}")
                                  << QString(QChar(0xCA00)) + u'x';
    QTest::newRow("bin beyond end") << QByteArray("{\\rtf1 a\\bin999999 xyz}") << QStringLiteral("a");
    QTest::newRow("negative bin") << QByteArray("{\\rtf1 a\\bin-5 b}") << QStringLiteral("ab");
    QTest::newRow("star at top") << QByteArray("{\\rtf1 a\\*b}") << QStringLiteral("a");
    QTest::newRow("embedded NUL dropped") << QByteArray("{\\rtf1 a\0b}", 11) << QStringLiteral("ab");
}

void TestRtfDocument::reads()
{
    QFETCH(QByteArray, rtf);
    QTEST(RtfDocument::readText(rtf), "text");
}

void TestRtfDocument::survivesHugeAndHostileInput_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("checkText");

    const QByteArray open(100000, '{');
    const QByteArray close(100000, '}');
    QTest::newRow("deep nesting balanced")
        << QByteArray("{\\rtf1 ") + open + "x" + close + "y}" << QStringLiteral("xy") << true;
    QTest::newRow("10 MB of open braces")
        << QByteArray("{\\rtf1 a") + QByteArray(10 * 1024 * 1024, '{') << QStringLiteral("a") << true;
    QTest::newRow("skipped group deeply nested")
        << QByteArray("{\\rtf1 {\\fonttbl") + open + "hidden" + close + "}z}" << QStringLiteral("z")
        << true;

    QByteArray big = "{\\rtf1\\ansi ";
    const QByteArray line = "The quick brown fox \\'e9\\u937? {\\b jumps}\\par\r\n";
    while (big.size() < 10 * 1024 * 1024)
        big += line;
    big += '}';
    QTest::newRow("10 MB document") << big << QString() << false;

    QRandomGenerator random(20240501);
    QByteArray garbage(1024 * 1024, Qt::Uninitialized);
    for (char &c : garbage)
        c = char(random.bounded(256));
    QTest::newRow("binary garbage") << garbage << QString() << false;
    QTest::newRow("binary garbage as rtf") << QByteArray("{\\rtf1 ") + garbage << QString() << false;

    static const char *tokens[] = {"{", "}", "\\", "\\'", "\\u", "\\uc", "\\bin", "\\*",
                                   "\\par", "-", "7", "x", "\\fonttbl", " ", "\r\n", "?"};
    QByteArray tokenSoup = "{\\rtf1 ";
    while (tokenSoup.size() < 1024 * 1024)
        tokenSoup += tokens[random.bounded(int(std::size(tokens)))];
    QTest::newRow("token soup") << tokenSoup << QString() << false;
}

void TestRtfDocument::survivesHugeAndHostileInput()
{
    QFETCH(QByteArray, input);
    QFETCH(bool, checkText);
    QElapsedTimer timer;
    timer.start();
    const QString read = RtfDocument::readText(input);
    // Very generous: linear reading takes tens of milliseconds here; this catches work
    // that grows with the square of the input.
    QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
    if (checkText)
        QTEST(read, "text");
    else
        QVERIFY(read.size() <= input.size());
}

void TestRtfDocument::savesAndLoads_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("score") << QStringLiteral("-3");
    QTest::newRow("name with specials") << QStringLiteral("Bud{i}\\ \u00E9\u4E2D\nbaris");
}

void TestRtfDocument::savesAndLoads()
{
    QFETCH(QString, text);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("dvq"));
    // A longer old file is replaced whole, not overwritten in place.
    QVERIFY(TestFiles::write(path, QByteArray(5000, 'x')));
    QString error = QStringLiteral("stale");
    QVERIFY(RtfDocument::save(path, text, &error));
    QVERIFY(error.isEmpty());
    QCOMPARE(TestFiles::read(path), RtfDocument::write(text));
    RtfDocument::LoadStatus status = RtfDocument::LoadStatus::Missing;
    QCOMPARE(RtfDocument::load(path, &status), text);
    QCOMPARE(status, RtfDocument::LoadStatus::Ok);
    // Nothing but the file is left behind by the atomic save.
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList{"dvq"});
}

void TestRtfDocument::saveFailsWithReason()
{
    QTemporaryDir dir;
    QString error;
    QVERIFY(!RtfDocument::save(dir.filePath(QStringLiteral("no/such/folder/dvq")),
                               QStringLiteral("0"), &error));
    QVERIFY(!error.isEmpty());
    // A folder standing where the file should be.
    const QString folder = dir.filePath(QStringLiteral("dvq"));
    QVERIFY(QDir().mkpath(folder));
    error.clear();
    QVERIFY(!RtfDocument::save(folder, QStringLiteral("0"), &error));
    QVERIFY(!error.isEmpty());
    QVERIFY(QFileInfo(folder).isDir());
}

void TestRtfDocument::loadTellsMissingFromUnreadable()
{
    using Status = RtfDocument::LoadStatus;
    QTemporaryDir dir;
    Status status = Status::Ok;

    QCOMPARE(RtfDocument::load(dir.filePath(QStringLiteral("absent")), &status), QString());
    QCOMPARE(status, Status::Missing);
    QCOMPARE(RtfDocument::load(dir.path(), &status), QString());
    QCOMPARE(status, Status::Unreadable);

    const QString big = dir.filePath(QStringLiteral("big"));
    QVERIFY(TestFiles::write(big, RtfDocument::write(QString(2 * 1024 * 1024, u'9'))));
    QCOMPARE(RtfDocument::load(big, &status), QString());
    QCOMPARE(status, Status::Unreadable);

    const QString empty = dir.filePath(QStringLiteral("empty"));
    QVERIFY(TestFiles::write(empty, QByteArray()));
    QCOMPARE(RtfDocument::load(empty, &status), QString());
    QCOMPARE(status, Status::Ok);

#ifdef Q_OS_UNIX
    // A pipe would block a reader that waits for its end.
    const QString pipe = dir.filePath(QStringLiteral("pipe"));
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QCOMPARE(RtfDocument::load(pipe, &status), QString());
    QCOMPARE(status, Status::Unreadable);

    const QString locked = dir.filePath(QStringLiteral("locked"));
    QVERIFY(TestFiles::write(locked, RtfDocument::write(QStringLiteral("1"))));
    QVERIFY(QFile::setPermissions(locked, QFileDevice::Permissions()));
    if (::geteuid() != 0) {
        QCOMPARE(RtfDocument::load(locked, &status), QString());
        QCOMPARE(status, Status::Unreadable);
    }
#endif
}

QTEST_GUILESS_MAIN(TestRtfDocument)
#include "tst_rtf_document.moc"
