#pragma once

#include <QObject>
#include <QString>

#include <memory>

// Plays a MIDI file once, driven like a multimedia control: "open", "prev", "play", "close"
// (case-insensitive). On Windows the system's own MIDI sequencer plays it (MCI); elsewhere
// a software synthesizer does, and everything slow (loading the sound font, opening and
// closing the audio device, playing) happens on a worker thread. Either way no command and
// not the destructor ever waits. Silent on any failure: no synthesizer in the build, no
// sound font, no audio device, a file that is not MIDI. When the tune has ended the player
// and the audio device are released, so an idle player costs nothing.
class TunePlayer : public QObject
{
    Q_OBJECT

public:
    explicit TunePlayer(QObject *parent = nullptr);
    // Stops the tune; the worker releases everything in the background.
    ~TunePlayer() override;

    void setFileName(const QString &fileName);
    QString fileName() const { return m_fileName; }

    void command(const QString &command);

    bool isOpen() const { return m_open; }
    // From "play" until the player reports that it has released everything.
    bool isPlaying() const;
    int playCount() const { return m_playCount; }

    // DORVALA_SOUNDFONT when set (even if it does not exist, so that a machine can be made
    // silent), else the first General MIDI font found; empty when there is none (always on
    // Windows, whose sequencer brings its own sounds).
    static QString soundFont();
    // Renders the whole tune offline into a wave file, on the calling thread (a 30 s tune
    // takes about 1.5 s); false when it cannot (always on Windows).
    static bool renderToWave(const QString &midi, const QString &wav);

signals:
    // The tune has ended or could not be played, and everything is released. Not emitted
    // after "close".
    void finished();

private:
    // The platform's player (tune_player_posix.cpp, tune_player_win.cpp).
    struct Output;
    bool open(const QString &path);
    void rewind();
    void play();
    void stop();
    // `which` is the playing that ended; a report of one stopped meanwhile is ignored.
    void output_Finished(const void *which);

    QString m_fileName;
    bool m_open = false;
    int m_playCount = 0;
    std::unique_ptr<Output> m_output;
};
