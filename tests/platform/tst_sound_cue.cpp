#include "platform/sound_cue.h"
#ifndef Q_OS_WIN
#include "platform/sound_effects.h"
#endif
#include "support/test_files.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

class TestSoundCue : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(TestFiles::writeCue(m_dir.filePath(QStringLiteral("WIN.wav")))); }

#ifndef Q_OS_WIN
    // The effect player is a module found beside the program; without it every cue would be
    // silent on every machine, and no other test would notice.
    void effectModuleLoads()
    {
        const SoundEffects *effects = SoundEffects::get();
        QVERIFY(effects);
        if (!effects->hasAudioOutput())
            return;
        std::unique_ptr<QObject> effect(effects->make(m_dir.filePath(QStringLiteral("WIN.wav"))));
        QVERIFY(effect);
        effects->play(effect.get());
    }
#endif

    // Every "play" counts, heard or not: a cue that cannot sound stays silent, never fails. The
    // log keeps every command as it came.
    void commands_data()
    {
        QTest::addColumn<QString>("file");  // in the test folder; "." is the folder itself
        QTest::addColumn<QStringList>("commands");
        QTest::addColumn<int>("plays");
        QTest::addColumn<bool>("open");
        QTest::newRow("lower") << "WIN.wav" << QStringList{"open", "prev", "play", "play"} << 2 << true;
        QTest::newRow("capitalised") << "WIN.wav" << QStringList{"Open", "PREV", "Play", "Play"} << 2 << true;
        QTest::newRow("padded") << "WIN.wav" << QStringList{" OPEN ", "play\n"} << 1 << true;
        QTest::newRow("missing file") << "absent.wav" << QStringList{"open", "prev", "play", "prev", "play"} << 2
                                      << false;
        QTest::newRow("folder") << "." << QStringList{"open", "play"} << 1 << false;
        QTest::newRow("play before open") << "WIN.wav" << QStringList{"play", "rewind", ""} << 1 << false;
        QTest::newRow("close releases") << "WIN.wav" << QStringList{"open", "play", "close", "play"} << 2 << false;
    }

    void commands()
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

    // The program folder and a file text are joined as written, like the match screens do:
    // a folder ending in a separator (a drive's root) still finds the file.
    void paths_data()
    {
        QTest::addColumn<QString>("given");  // "@" stands for the test folder
        QTest::addColumn<QString>("resolved");
        QTest::newRow("no separator") << "@/WIN.wav" << "@/WIN.wav";
        QTest::newRow("slash") << "@//WIN.wav" << "@/WIN.wav";
        QTest::newRow("backslash") << "@\\/WIN.wav" << "@/WIN.wav";
        QTest::newRow("two slashes") << "@///WIN.wav" << "@/WIN.wav";
        QTest::newRow("empty") << "" << "";
        QTest::newRow("doubled, nowhere") << "/no/such//dir///WIN.wav" << "/no/such/dir/WIN.wav";
        QTest::newRow("drive root") << "C:\\/WIN.wav" << "C:/WIN.wav";
        QTest::newRow("share kept") << "\\\\server\\share\\/WIN.wav" << "//server/share/WIN.wav";
    }

    void paths()
    {
        QFETCH(QString, given);
        QFETCH(QString, resolved);
        given.replace(u'@', m_dir.path());
        QCOMPARE(SoundCue::resolvePath(given), resolved.replace(u'@', m_dir.path()));
        if (given.startsWith(m_dir.path())) {
            SoundCue cue;
            cue.setFileName(given);
            cue.command(QStringLiteral("open"));
            QVERIFY2(cue.isOpen(), qPrintable(given));
        }
    }

#ifdef Q_OS_WIN
    // A program run from the root of a drive has "T:\\" for its folder, so a cue's file name
    // is "T:\\/WIN.wav". scripts/windows/test.sh runs the tests so, from their folder made a
    // drive; the system's own player must open the file.
    void programAtDriveRoot()
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

private:
    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(TestSoundCue)
#include "tst_sound_cue.moc"
