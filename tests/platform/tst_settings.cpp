#include "platform/settings.h"

#include <QDir>
#include <QFileInfo>
#include <QHostAddress>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

namespace {

// Each test sets what it reads, so nothing needs putting back.
void setEnv(const char *name, const QByteArray &value, bool set = true)
{
    if (set)
        qputenv(name, value);
    else
        qunsetenv(name);
}

} // namespace

class TestSettings : public QObject
{
    Q_OBJECT

private slots:
    void driveCComesFromEnvironment()
    {
        const QString folder = m_dir.filePath(QStringLiteral("drive/c/"));
        setEnv("DORVALA_DRIVE_C", QFile::encodeName(folder));
        QCOMPARE(Settings::driveC(), QDir::cleanPath(folder));
        QVERIFY(QFileInfo(folder).isDir());
    }

    // Windows' drive C: is C:\ itself only where the player may make a file there, and asking
    // leaves nothing behind.
    void rootOnlyWhereAFileCanBeMade_data()
    {
        QTest::addColumn<QString>("root");
        QTest::addColumn<bool>("kept");

        QTest::newRow("writable") << m_dir.path() << true;
        QTest::newRow("missing") << m_dir.filePath(QStringLiteral("no/such/drive")) << false;
        QTest::newRow("a file, not a folder") << m_dir.filePath(QStringLiteral("file")) << false;
    }

    void rootOnlyWhereAFileCanBeMade()
    {
        QFETCH(QString, root);
        QFETCH(bool, kept);
        QFile file(m_dir.filePath(QStringLiteral("file")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        const QStringList before = QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        const QString chosen = Settings::writableOrUserFolder(root);
        QCOMPARE(chosen == root, kept);
        if (!kept)
            QVERIFY2(chosen.endsWith(QLatin1String("/C")) && !chosen.startsWith(m_dir.path()), qPrintable(chosen));
        QCOMPARE(QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), before);
    }

    void cFileStaysInsideDriveC_data()
    {
        QTest::addColumn<QString>("programPath");
        QTest::addColumn<QString>("name");

        QTest::newRow("score file") << QStringLiteral("C:/dvq") << QStringLiteral("dvq");
        QTest::newRow("backslash form") << QStringLiteral("C:\\dvq") << QStringLiteral("dvq");
        QTest::newRow("lower-case drive") << QStringLiteral("c:/dvq") << QStringLiteral("dvq");
        QTest::newRow("placeholder") << QStringLiteral("C:/[Nomor IP]") << QStringLiteral("[Nomor IP]");
        QTest::newRow("empty player name") << QStringLiteral("C:/-") << QStringLiteral("-");
        QTest::newRow("name with folder") << QStringLiteral("C:/-a/b") << QStringLiteral("-a_b");
        QTest::newRow("climbing out") << QStringLiteral("C:/-../../etc/passwd")
                                      << QStringLiteral("-.._.._etc_passwd");
        QTest::newRow("backslash climbing") << QStringLiteral("C:\\..\\..\\x") << QStringLiteral(".._.._x");
        QTest::newRow("colon") << QStringLiteral("C:/a:b") << QStringLiteral("a_b");
        QTest::newRow("control chars") << QStringLiteral("C:/-a\nb\tc\u0001") << QStringLiteral("-a_b_c_");
        // Names that would be the folder itself or its parent.
        QTest::newRow("nothing") << QStringLiteral("C:/") << QString();
        QTest::newRow("dot dot") << QStringLiteral("C:/..") << QString();
    }

    void cFileStaysInsideDriveC()
    {
        QFETCH(QString, programPath);
        QFETCH(QString, name);
        setEnv("DORVALA_DRIVE_C", QFile::encodeName(m_dir.filePath(QStringLiteral("c"))));
        const QString drive = Settings::driveC();
        const QString path = Settings::cFile(programPath);
        const QFileInfo info(path);
        QCOMPARE(QDir::cleanPath(info.absolutePath()), drive);
        QVERIFY2(!info.fileName().isEmpty() && info.fileName() != QLatin1String(".")
                     && info.fileName() != QLatin1String(".."),
                 qPrintable(path));
        QCOMPARE(QDir::cleanPath(path), path);
        if (!name.isEmpty())
            QCOMPARE(info.fileName(), name);
    }

    void ports_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<bool>("set");
        QTest::addColumn<int>("match");
        QTest::addColumn<int>("probe");

        QTest::newRow("defaults") << QByteArray() << false << 1009 << 79;
        QTest::newRow("override") << QByteArray("4321") << true << 4321 << 4321;
        QTest::newRow("highest") << QByteArray("65535") << true << 65535 << 65535;
        QTest::newRow("zero") << QByteArray("0") << true << 1009 << 79;
        QTest::newRow("too large") << QByteArray("65536") << true << 1009 << 79;
        QTest::newRow("negative") << QByteArray("-5") << true << 1009 << 79;
        QTest::newRow("not a number") << QByteArray("abc") << true << 1009 << 79;
        QTest::newRow("empty") << QByteArray("") << true << 1009 << 79;
    }

    void ports()
    {
        QFETCH(QByteArray, value);
        QFETCH(bool, set);
        setEnv("DORVALA_MATCH_PORT", value, set);
        setEnv("DORVALA_PROBE_PORT", value, set);
        QTEST(int(Settings::matchPort()), "match");
        QTEST(int(Settings::probePort()), "probe");
    }

    void localIpAndPages()
    {
        // The address the program finds itself; every other test sets its own.
        setEnv("DORVALA_LOCAL_IP", QByteArray(), false);
        QHostAddress address;
        QVERIFY(address.setAddress(Settings::localIp()));
        QCOMPARE(address.protocol(), QAbstractSocket::IPv4Protocol);
        // The maker's page the program carries, beside it.
        setEnv("DORVALA_MAKER_URL", QByteArray(), false);
        QVERIFY(QFileInfo::exists(QUrl(Settings::makerUrl()).toLocalFile()));
    }

private:
    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
