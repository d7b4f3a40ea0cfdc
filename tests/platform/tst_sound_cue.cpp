#include "platform/sound_cue.h"
#include "support/test_files.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>


class TestSoundCue : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void commands_data();
    void commands();
    void folderEndingInSeparator_data();
    void folderEndingInSeparator();
    void resolvesPaths_data();
    void resolvesPaths();
#ifdef Q_OS_WIN
    void programAtDriveRoot();
#endif

private:
    QTemporaryDir m_dir;
    QString m_wave;
};

void TestSoundCue::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_wave = m_dir.filePath(QStringLiteral("WIN.wav"));
    QVERIFY(TestFiles::writeCue(m_wave));
}

// Every "play" counts, heard or not: a cue that cannot sound stays silent, never fails. The
// log keeps every command as it came.
void TestSoundCue::commands_data()
{
    QTest::addColumn<QString>("file");  // in the test folder; "." is the folder itself
    QTest::addColumn<QStringList>("commands");
    QTest::addColumn<int>("plays");
    QTest::addColumn<bool>("open");

    QTest::newRow("lower") << "WIN.wav" << QStringList{"open", "prev", "play", "play"} << 2 << true;
    QTest::newRow("capitalised") << "WIN.wav" << QStringList{"Open", "PREV", "Play", "Play"} << 2
                                 << true;
    QTest::newRow("padded") << "WIN.wav" << QStringList{" OPEN ", "play\n"} << 1 << true;
    QTest::newRow("missing file") << "absent.wav"
                                  << QStringList{"open", "prev", "play", "prev", "play"} << 2
                                  << false;
    QTest::newRow("folder") << "." << QStringList{"open", "play"} << 1 << false;
    QTest::newRow("play before open")
        << "WIN.wav" << QStringList{"play", "rewind", ""} << 1 << false;
    QTest::newRow("close releases")
        << "WIN.wav" << QStringList{"open", "play", "close", "play"} << 2 << false;
}

void TestSoundCue::commands()
{
    QFETCH(QString, file);
    QFETCH(QStringList, commands);
    SoundCue cue;
    cue.setFileName(QDir::cleanPath(m_dir.filePath(file)));
    for (const QString &command : commands)
        cue.command(command);
    QTEST(cue.playCount(), "plays");
    QTEST(cue.isOpen(), "open");
    QCOMPARE(cue.commandLog(), commands);
}

void TestSoundCue::folderEndingInSeparator_data()
{
    QTest::addColumn<QString>("suffix");

    QTest::newRow("no separator") << QString();
    QTest::newRow("slash") << QStringLiteral("/");
    QTest::newRow("backslash") << QStringLiteral("\\");
    QTest::newRow("two slashes") << QStringLiteral("//");
}

void TestSoundCue::folderEndingInSeparator()
{
    QFETCH(QString, suffix);
    SoundCue cue;
    // The cue gets the folder and the file text joined as written, like the match screens do.
    const QString fileName = m_dir.path() + suffix + QStringLiteral("/WIN.wav");
    cue.setFileName(fileName);
    QCOMPARE(cue.fileName(), fileName);
    cue.command(QStringLiteral("open"));
    QVERIFY2(cue.isOpen(), qPrintable(fileName));
    QCOMPARE(SoundCue::joinProgramPath(m_dir.path() + suffix, QStringLiteral("/WIN.wav")),
             QDir::cleanPath(m_wave));
}

void TestSoundCue::resolvesPaths_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("resolved");

    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("drive root") << QStringLiteral("C:\\/WIN.wav") << QStringLiteral("C:/WIN.wav");
    QTest::newRow("doubled") << QStringLiteral("/no/such//dir///WIN.wav")
                             << QStringLiteral("/no/such/dir/WIN.wav");
    QTest::newRow("share kept") << QStringLiteral("\\\\server\\share\\/WIN.wav")
                                << QStringLiteral("//server/share/WIN.wav");
}

void TestSoundCue::resolvesPaths()
{
    QFETCH(QString, given);
    QTEST(SoundCue::resolvePath(given), "resolved");
}

#ifdef Q_OS_WIN
// A program run from the root of a drive has "T:\" for its folder, so a cue's file name is
// "T:\/WIN.wav". scripts/windows/test.sh runs the tests so, from their folder made a drive.
void TestSoundCue::programAtDriveRoot()
{
    const QString folder = QDir::toNativeSeparators(QCoreApplication::applicationDirPath());
    if (!folder.endsWith(u'\\') || !QFileInfo::exists(folder + QStringLiteral("WIN.wav")))
        QSKIP("not run from the root of a drive holding the wave files");
    SoundCue cue;
    cue.setFileName(folder + QStringLiteral("/WIN.wav"));
    cue.command(QStringLiteral("open"));
    QVERIFY2(cue.isOpen(), qPrintable(cue.fileName()));
}
#endif

QTEST_GUILESS_MAIN(TestSoundCue)
#include "tst_sound_cue.moc"
