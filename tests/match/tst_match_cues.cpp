#include "match/match_cues.h"
#include "platform/sound_cue.h"
#include "support/test_files.h"

#include <QTemporaryDir>
#include <QTest>

class TestMatchCues : public QObject
{
    Q_OBJECT

private slots:
    // Each file text is joined to the folder as written, odd capitals and all, opened and
    // rewound; a missing file silences only its own cue, and sounding it fails nothing.
    void load_data()
    {
        QTest::addColumn<QString>("missing");
        QTest::newRow("all there") << QString();
        QTest::newRow("lose") << QStringLiteral("/lose.wav");
        QTest::newRow("MeC") << QStringLiteral("/MeC.WAV");
    }

    void load()
    {
        QFETCH(QString, missing);
        const QStringList fileTexts{"/WIN.wav", "/MeC.WAV", "/MeX.wav", "/MEI.wav",
                                    "/lose.wav", "/Mess.wav", "/OL.wav"};
        QTemporaryDir dir;
        for (const QString &text : fileTexts)
            QVERIFY(text == missing || TestFiles::writeCue(dir.path() + text));
        MatchCues cues;
        cues.load(dir.path());
        for (qsizetype i = 0; i < fileTexts.size(); ++i) {
            SoundCue *cue = cues.cue(MatchCues::names().at(i));
            QCOMPARE(cue->fileName(), dir.path() + fileTexts.at(i));
            QCOMPARE(cue->isOpen(), fileTexts.at(i) != missing);
            QCOMPARE(cue->commandLog(), (QStringList{"open", "prev"}));
            cues.sound(cue->objectName());
            QCOMPARE(cue->playCount(), 1);
        }
    }

    // From the start each time: a second sounding cuts the first short.
    void soundRewindsThenPlays()
    {
        MatchCues cues;
        cues.load(QStringLiteral("/nonexistent"));
        cues.sound(QStringLiteral("MEI"));
        cues.sound(QStringLiteral("MEI"));
        cues.sound(QStringLiteral("nobody"));
        cues.sound(QStringLiteral("mei"));
        for (const QString &name : MatchCues::names())
            QCOMPARE(cues.cue(name)->playCount(), name == QLatin1String("MEI") ? 2 : 0);
        QCOMPARE(cues.cue(QStringLiteral("MEI"))->commandLog(),
                 QStringList({"open", "prev", "prev", "play", "prev", "play"}));
    }
};

QTEST_GUILESS_MAIN(TestMatchCues)
#include "tst_match_cues.moc"
