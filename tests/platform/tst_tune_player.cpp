#include "platform/tune_player.h"
#include "support/test_files.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <memory>

#ifdef Q_OS_WIN
#include <windows.h>
#endif

namespace {

#ifdef Q_OS_WIN
bool underWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}
#endif

// One half-second middle C on a piano: a whole Standard MIDI File.
QByteArray tinyMidi()
{
    const QByteArray track = QByteArray::fromHex("00c000"      // piano
                                                 "00903c64"    // note on, C4
                                                 "8360803c40"  // 480 ticks later: off
                                                 "00ff2f00");  // end of track
    QByteArray midi = QByteArray::fromHex("4d546864000000060000000101e0");
    midi += "MTrk";
    midi += QByteArray::fromHex(QByteArray::number(qlonglong(track.size()), 16).rightJustified(8, '0'));
    return midi + track;
}


// The loudest 16-bit sample of a PCM wave file, or -1 when it is not one.
int peak(const QString &path)
{
    const QByteArray wave = TestFiles::read(path);
    if (!wave.startsWith("RIFF") || wave.mid(8, 4) != "WAVE")
        return -1;
    qsizetype at = 12;
    while (at + 8 <= wave.size()) {
        const QByteArray id = wave.mid(at, 4);
        const quint32 size = qFromLittleEndian<quint32>(wave.constData() + at + 4);
        if (id == "fmt " && qFromLittleEndian<quint16>(wave.constData() + at + 22) != 16)
            return -1;
        if (id == "data") {
            int loudest = 0;
            const qsizetype end = qMin<qsizetype>(wave.size(), at + 8 + size);
            for (qsizetype i = at + 8; i + 1 < end; i += 2)
                loudest = qMax(loudest, qAbs(int(qFromLittleEndian<qint16>(wave.constData() + i))));
            return loudest;
        }
        at += 8 + size + (size & 1);
    }
    return -1;
}

} // namespace

class TestTunePlayer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void rendersAudibleTune_data();
    void rendersAudibleTune();
    void renderFailsCleanly_data();
    void renderFailsCleanly();
    void commandsNeverBlock();
    void destroyedWhilePlaying();
    void nothingToPlay_data();
    void nothingToPlay();

private:
    QTemporaryDir m_dir;
    QString m_midi;
};

void TestTunePlayer::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_midi = m_dir.filePath(QStringLiteral("AB.MID"));
    QVERIFY(TestFiles::write(m_midi, tinyMidi()));
}

void TestTunePlayer::rendersAudibleTune_data()
{
    QTest::addColumn<QString>("midi");
    QTest::addColumn<qint64>("minimumBytes");
    // A tiny tune written by the test, and the about screen's own tune beside the programs.
    QTest::newRow("tiny") << QString() << qint64(44100 * 4 / 4);
    QTest::newRow("about tune") << QStringLiteral(DORVALA_BIN_DIR "/AB.MID") << qint64(44100 * 4 * 15);
}

void TestTunePlayer::rendersAudibleTune()
{
    QFETCH(QString, midi);
    QFETCH(qint64, minimumBytes);
    if (midi.isEmpty())
        midi = m_midi;
#ifndef DORVALA_HAVE_FLUIDSYNTH
    QSKIP("built without FluidSynth");
#endif
    if (TunePlayer::soundFont().isEmpty())
        QSKIP("no General MIDI sound font installed");
    const QString wav = m_dir.filePath(QStringLiteral("tune.wav"));
    QVERIFY(TunePlayer::renderToWave(midi, wav));
    // 44.1 kHz stereo 16-bit sound of the tune's length, clearly above silence.
    QVERIFY2(QFileInfo(wav).size() > minimumBytes, qPrintable(QString::number(QFileInfo(wav).size())));
    QVERIFY2(peak(wav) > 1000, qPrintable(QString::number(peak(wav))));
}

void TestTunePlayer::renderFailsCleanly_data()
{
    QTest::addColumn<QString>("midi");
    QTest::addColumn<QByteArray>("soundFont");

    QTest::newRow("missing file") << QStringLiteral("absent.mid") << QByteArray();
    QTest::newRow("not midi") << QStringLiteral("text.mid") << QByteArray();
    QTest::newRow("no sound font") << QStringLiteral("AB.MID") << QByteArray("absent.sf2");
}

void TestTunePlayer::renderFailsCleanly()
{
    QFETCH(QString, midi);
    QFETCH(QByteArray, soundFont);
    QVERIFY(TestFiles::write(m_dir.filePath(QStringLiteral("text.mid")), "just some text\n"));
    if (!soundFont.isEmpty())
        qputenv("DORVALA_SOUNDFONT", QFile::encodeName(m_dir.filePath(QString::fromLatin1(soundFont))));
    const auto restore = qScopeGuard([] { qunsetenv("DORVALA_SOUNDFONT"); });
    QVERIFY(!TunePlayer::renderToWave(m_dir.filePath(midi), m_dir.filePath(QStringLiteral("out.wav"))));
}

void TestTunePlayer::commandsNeverBlock()
{
    TunePlayer player;
    QSignalSpy finished(&player, &TunePlayer::finished);
    player.setFileName(m_dir.path() + QStringLiteral("//AB.MID"));
    QElapsedTimer timer;
    timer.start();
    player.command(QStringLiteral("Open"));
    player.command(QStringLiteral("Prev"));
    player.command(QStringLiteral("Play"));
    const qint64 elapsed = timer.elapsed();
    QVERIFY(player.isOpen());
    QCOMPARE(player.playCount(), 1);
#if defined(DORVALA_HAVE_FLUIDSYNTH) || defined(Q_OS_WIN)
    // The call only starts the tune: the font loads and the device opens on the worker, or
    // the system's sequencer plays it.
    QVERIFY(player.isPlaying());
    QVERIFY2(elapsed < 1000, qPrintable(QString::number(elapsed)));
    // Without an audio device the worker gives up at once; with one the tune lasts about
    // two seconds including its release.
#ifdef Q_OS_WIN
    if (underWine() && !finished.wait(3000))
        QSKIP("Wine's sequencer without a MIDI device stands at the start, playing, for ever");
#endif
    QVERIFY(!finished.isEmpty() || finished.wait(30000));
    QVERIFY(!player.isPlaying());
#else
    Q_UNUSED(elapsed);
    QVERIFY(!player.isPlaying());
#endif
}

void TestTunePlayer::destroyedWhilePlaying()
{
    for (int i = 0; i < 3; ++i) {
        auto player = std::make_unique<TunePlayer>();
        player->setFileName(m_midi);
        player->command(QStringLiteral("open"));
        player->command(QStringLiteral("play"));
        player->command(QStringLiteral("play"));  // starts over, still one worker
        player.reset();
    }
    TunePlayer player;
    player.setFileName(m_midi);
    player.command(QStringLiteral("open"));
    player.command(QStringLiteral("play"));
    player.command(QStringLiteral("close"));
    QVERIFY(!player.isPlaying());
    QVERIFY(!player.isOpen());
}

void TestTunePlayer::nothingToPlay_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<bool>("open");

    QTest::newRow("missing file") << QStringLiteral("absent.MID") << true;
    QTest::newRow("play without open") << QStringLiteral("AB.MID") << false;
}

void TestTunePlayer::nothingToPlay()
{
    QFETCH(QString, fileName);
    QFETCH(bool, open);
    TunePlayer player;
    player.setFileName(m_dir.filePath(fileName));
    if (open)
        player.command(QStringLiteral("open"));
    player.command(QStringLiteral("play"));
    QCOMPARE(player.playCount(), 1);
    QVERIFY(!player.isOpen());
    QVERIFY(!player.isPlaying());
}

QTEST_GUILESS_MAIN(TestTunePlayer)
#include "tst_tune_player.moc"
