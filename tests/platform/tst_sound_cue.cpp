#include "platform/sound_cue.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

// The program's own cue when the build has copied it, else a tiny tone made here.
bool provideWave(const QString &path)
{
    const QString shipped = QStringLiteral(DORVALA_BIN_DIR "/WIN.wav");
    if (QFile::exists(shipped))
        return QFile::copy(shipped, path);
    QByteArray pcm;
    for (int i = 0; i < 800; ++i) {
        const qint16 sample = (i / 10) % 2 ? 6000 : -6000;
        pcm.append(reinterpret_cast<const char *>(&sample), 2);
    }
    auto le = [](quint32 value, int bytes) {
        QByteArray out;
        for (int i = 0; i < bytes; ++i)
            out.append(char((value >> (8 * i)) & 0xFF));
        return out;
    };
    const QByteArray wave = "RIFF" + le(36 + pcm.size(), 4) + "WAVEfmt " + le(16, 4) + le(1, 2)
                            + le(1, 2) + le(8000, 4) + le(16000, 4) + le(2, 2) + le(16, 2)
                            + "data" + le(pcm.size(), 4) + pcm;
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(wave) == wave.size();
}

} // namespace

class TestSoundCue : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void commandsIgnoreCase_data();
    void commandsIgnoreCase();
    void missingFileStaysSilentButCounts();
    void playBeforeOpenIsSilent();
    void closeReleases();
    void logsEveryCommandInOrder();
    void folderEndingInSeparator_data();
    void folderEndingInSeparator();
    void resolvesPaths_data();
    void resolvesPaths();

private:
    QTemporaryDir m_dir;
    QString m_wave;
};

void TestSoundCue::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_wave = m_dir.filePath(QStringLiteral("WIN.wav"));
    QVERIFY(provideWave(m_wave));
}

void TestSoundCue::commandsIgnoreCase_data()
{
    QTest::addColumn<QString>("open");
    QTest::addColumn<QString>("play");

    QTest::newRow("lower") << QStringLiteral("open") << QStringLiteral("play");
    QTest::newRow("capitalised") << QStringLiteral("Open") << QStringLiteral("Play");
    QTest::newRow("upper") << QStringLiteral("OPEN") << QStringLiteral("PLAY");
    QTest::newRow("padded") << QStringLiteral(" open ") << QStringLiteral("play\n");
}

void TestSoundCue::commandsIgnoreCase()
{
    QFETCH(QString, open);
    QFETCH(QString, play);
    SoundCue cue;
    cue.setFileName(m_wave);
    cue.command(open);
    QVERIFY(cue.isOpen());
    cue.command(QStringLiteral("PREV"));
    cue.command(play);
    cue.command(play);
    QCOMPARE(cue.playCount(), 2);
}

void TestSoundCue::missingFileStaysSilentButCounts()
{
    SoundCue cue;
    cue.setFileName(m_dir.filePath(QStringLiteral("absent.wav")));
    cue.command(QStringLiteral("open"));
    QVERIFY(!cue.isOpen());
    for (int i = 0; i < 3; ++i) {
        cue.command(QStringLiteral("prev"));
        cue.command(QStringLiteral("play"));
    }
    QCOMPARE(cue.playCount(), 3);
    QVERIFY(!cue.isOpen());

    // A folder of that name is no sound either.
    cue.setFileName(m_dir.path());
    cue.command(QStringLiteral("open"));
    QVERIFY(!cue.isOpen());
}

void TestSoundCue::playBeforeOpenIsSilent()
{
    SoundCue cue;
    cue.setFileName(m_wave);
    cue.command(QStringLiteral("play"));
    QCOMPARE(cue.playCount(), 1);
    QVERIFY(!cue.isOpen());
    cue.command(QStringLiteral("rewind"));  // not a command it knows
    cue.command(QString());
    QCOMPARE(cue.playCount(), 1);
}

void TestSoundCue::closeReleases()
{
    SoundCue cue;
    cue.setFileName(m_wave);
    cue.command(QStringLiteral("open"));
    QVERIFY(cue.isOpen());
    cue.command(QStringLiteral("play"));
    cue.command(QStringLiteral("close"));
    QVERIFY(!cue.isOpen());
    cue.command(QStringLiteral("play"));
    QCOMPARE(cue.playCount(), 2);
    // Opening again binds to the file name as it is now.
    cue.setFileName(m_dir.filePath(QStringLiteral("absent.wav")));
    cue.command(QStringLiteral("open"));
    QVERIFY(!cue.isOpen());
}

void TestSoundCue::logsEveryCommandInOrder()
{
    SoundCue cue;
    QSignalSpy received(&cue, &SoundCue::commandReceived);
    QSignalSpy renamed(&cue, &SoundCue::fileNameChanged);
    cue.setFileName(m_wave);
    const QStringList commands{"open", "prev", "Play", "bogus", "prev", "play"};
    for (const QString &command : commands)
        cue.command(command);
    QCOMPARE(cue.commandLog(), commands);
    QCOMPARE(received.size(), commands.size());
    QCOMPARE(received.at(2).at(0).toString(), QStringLiteral("Play"));
    QCOMPARE(renamed.size(), 1);
    QCOMPARE(cue.fileName(), m_wave);
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
    QFETCH(QString, resolved);
    QCOMPARE(SoundCue::resolvePath(given), resolved);
}

QTEST_GUILESS_MAIN(TestSoundCue)
#include "tst_sound_cue.moc"
