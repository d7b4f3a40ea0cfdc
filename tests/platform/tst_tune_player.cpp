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

namespace {

bool underWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

} // namespace
#endif

class TestTunePlayer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // One half-second middle C on a piano: a whole Standard MIDI File.
        QVERIFY(TestFiles::write(m_dir.filePath("AB.MID"),
                                 QByteArray::fromHex("4d546864000000060000000101e0" "4d54726b00000010"
                                                     "00c000" "00903c64" "8360803c40" "00ff2f00")));
        QVERIFY(TestFiles::write(m_dir.filePath("text.mid"), "just some text\n"));
    }

    // With no audio device here, the synthesizer's output is checked offline: the sound of
    // the tune's length, clearly above silence.
    void rendersAudibleTune_data()
    {
        QTest::addColumn<QString>("midi");
        QTest::addColumn<qint64>("minimumBytes");  // 44.1 kHz stereo 16-bit
        QTest::newRow("tiny") << m_dir.filePath("AB.MID") << qint64(44100 * 4 / 4);
        QTest::newRow("about tune") << QStringLiteral(DORVALA_BIN_DIR "/AB.MID") << qint64(44100 * 4 * 15);
    }

    void rendersAudibleTune()
    {
        QFETCH(QString, midi);
        QFETCH(qint64, minimumBytes);
#ifndef DORVALA_HAVE_FLUIDSYNTH
        QSKIP("built without FluidSynth");
#endif
        if (TunePlayer::soundFont().isEmpty())
            QSKIP("no General MIDI sound font installed");
        const QString wav = m_dir.filePath("tune.wav");
        QVERIFY(TunePlayer::renderToWave(midi, wav));
        const QByteArray wave = TestFiles::read(wav);
        QVERIFY2(wave.size() > minimumBytes, qPrintable(QString::number(wave.size())));
        int loudest = 0;
        for (qsizetype i = wave.indexOf("data") + 8; i > 8 && i + 1 < wave.size(); i += 2)
            loudest = qMax(loudest, qAbs(int(qFromLittleEndian<qint16>(wave.constData() + i))));
        QVERIFY2(loudest > 1000, qPrintable(QString::number(loudest)));
    }

    void renderFailsCleanly_data()
    {
        QTest::addColumn<QString>("midi");
        QTest::addColumn<QString>("soundFont");
        QTest::newRow("missing file") << "absent.mid" << "";
        QTest::newRow("not midi") << "text.mid" << "";
        QTest::newRow("no sound font") << "AB.MID" << "absent.sf2";
    }

    void renderFailsCleanly()
    {
        QFETCH(QString, midi);
        QFETCH(QString, soundFont);
        if (!soundFont.isEmpty())
            qputenv("DORVALA_SOUNDFONT", QFile::encodeName(m_dir.filePath(soundFont)));
        const auto restore = qScopeGuard([] { qunsetenv("DORVALA_SOUNDFONT"); });
        QVERIFY(!TunePlayer::renderToWave(m_dir.filePath(midi), m_dir.filePath("out.wav")));
    }

    void commandsNeverBlock()
    {
        TunePlayer player;
        QSignalSpy finished(&player, &TunePlayer::finished);
        player.setFileName(m_dir.path() + QStringLiteral("//AB.MID"));
        QElapsedTimer timer;
        timer.start();
        for (const char *command : {"Open", "Prev", "Play"})
            player.command(QLatin1String(command));
        const qint64 elapsed = timer.elapsed();
        QVERIFY(player.isOpen());
        QCOMPARE(player.playCount(), 1);
#if defined(DORVALA_HAVE_FLUIDSYNTH) || defined(Q_OS_WIN)
        // The call only starts the tune: the font loads and the device opens on the worker,
        // or the system's sequencer plays it.
        QVERIFY(player.isPlaying());
        QVERIFY2(elapsed < 1000, qPrintable(QString::number(elapsed)));
        // Without an audio device the worker gives up at once; with one the tune lasts about
        // two seconds including its release.
#ifdef Q_OS_WIN
        if (underWine() && !finished.wait(3000))
            QSKIP("Wine's sequencer without a MIDI device stands at the start, playing, for ever");
#endif
        QVERIFY(!finished.isEmpty() || finished.wait(30000));
#endif
        QVERIFY(!player.isPlaying());
        Q_UNUSED(elapsed);
    }

    // Destroyed or closed while playing; a missing file opens nothing, and a play without an
    // open plays nothing. Every play counts.
    void endsAndNothingToPlay()
    {
        for (int i = 0; i < 3; ++i) {
            auto player = std::make_unique<TunePlayer>();
            player->setFileName(m_dir.filePath("AB.MID"));
            player->command(QStringLiteral("open"));
            player->command(QStringLiteral("play"));
            player->command(QStringLiteral("play"));  // starts over, still one worker
        }
        for (const char *file : {"absent.MID", "AB.MID"}) {
            TunePlayer player;
            player.setFileName(m_dir.filePath(QLatin1String(file)));
            if (file[0] == 'a')
                player.command(QStringLiteral("open"));
            player.command(QStringLiteral("play"));
            QCOMPARE(player.playCount(), 1);
            QVERIFY(!player.isOpen() && !player.isPlaying());
            for (const char *command : {"open", "play", "close"})
                player.command(QLatin1String(command));
            QVERIFY(!player.isPlaying() && !player.isOpen());
        }
    }

private:
    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(TestTunePlayer)
#include "tst_tune_player.moc"
