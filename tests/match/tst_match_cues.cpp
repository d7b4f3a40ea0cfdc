#include "match/match_cues.h"
#include "platform/sound_cue.h"
#include "support/test_files.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QStringList fileTexts{"/WIN.wav", "/MeC.WAV", "/MeX.wav", "/MEI.wav",
                            "/lose.wav", "/Mess.wav", "/OL.wav"};

// A program folder holding the cue files; `leaveOut` is not copied.
bool fillFolder(const QString &folder, const QString &leaveOut = QString())
{
    for (const QString &text : fileTexts) {
        if (text != leaveOut && !TestFiles::writeCue(folder + text))
            return false;
    }
    return true;
}

} // namespace

class TestMatchCues : public QObject
{
    Q_OBJECT

private slots:
    void setUpOrder();
    void missingFileSilencesOnlyThatCue_data();
    void missingFileSilencesOnlyThatCue();
    void soundRewindsThenPlays();
};

void TestMatchCues::setUpOrder()
{
    QTemporaryDir dir;
    QVERIFY(fillFolder(dir.path()));
    MatchCues cues;
    QStringList events;
    for (const QString &name : MatchCues::names()) {
        SoundCue *cue = cues.cue(name);
        connect(cue, &SoundCue::fileNameChanged, this,
                [&events, name](const QString &) { events << name + QStringLiteral(" file"); });
        connect(cue, &SoundCue::commandReceived, this,
                [&events, name](const QString &command) { events << name + u' ' + command; });
    }
    cues.load(dir.path());
    // Names in one order, then open and rewind in another: mess comes before Lose there.
    const QStringList expected{
        "WIN file", "MeC file", "MEX file", "MEI file", "Lose file", "mess file", "OL file",
        "WIN open", "WIN prev", "MeC open", "MeC prev", "MEX open", "MEX prev",
        "MEI open", "MEI prev", "mess open", "mess prev", "Lose open", "Lose prev",
        "OL open", "OL prev",
    };
    QCOMPARE(events, expected);
    // Each file text is joined to the folder as written, odd capitals and all.
    for (qsizetype i = 0; i < fileTexts.size(); ++i) {
        SoundCue *cue = cues.cue(MatchCues::names().at(i));
        QCOMPARE(cue->fileName(), dir.path() + fileTexts.at(i));
        QVERIFY2(cue->isOpen(), qPrintable(cue->fileName()));
        QCOMPARE(cue->playCount(), 0);
    }
}

void TestMatchCues::missingFileSilencesOnlyThatCue_data()
{
    QTest::addColumn<QString>("missing");
    QTest::addColumn<QString>("cue");

    QTest::newRow("lose") << QStringLiteral("/lose.wav") << QStringLiteral("Lose");
    QTest::newRow("MeC") << QStringLiteral("/MeC.WAV") << QStringLiteral("MeC");
}

void TestMatchCues::missingFileSilencesOnlyThatCue()
{
    QFETCH(QString, missing);
    QFETCH(QString, cue);
    QTemporaryDir dir;
    QVERIFY(fillFolder(dir.path(), missing));
    MatchCues cues;
    cues.load(dir.path());
    for (const QString &name : MatchCues::names()) {
        QCOMPARE(cues.cue(name)->isOpen(), name != cue);
        cues.sound(name);
        QCOMPARE(cues.cue(name)->playCount(), 1);
    }
}

void TestMatchCues::soundRewindsThenPlays()
{
    QTemporaryDir dir;
    QVERIFY(fillFolder(dir.path()));
    MatchCues cues;
    cues.load(dir.path());
    SoundCue *mei = cues.cue(QStringLiteral("MEI"));
    cues.sound(QStringLiteral("MEI"));
    cues.sound(QStringLiteral("MEI"));
    QCOMPARE(mei->playCount(), 2);
    QCOMPARE(mei->commandLog(),
             QStringList({"open", "prev", "prev", "play", "prev", "play"}));

    cues.sound(QStringLiteral("nobody"));
    cues.sound(QStringLiteral("mei"));
    for (const QString &name : MatchCues::names())
        QCOMPARE(cues.cue(name)->playCount(), name == QLatin1String("MEI") ? 2 : 0);
}

QTEST_GUILESS_MAIN(TestMatchCues)
#include "tst_match_cues.moc"
