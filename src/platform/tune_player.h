#pragma once

#include <QObject>
#include <QString>

#include <memory>
#include <thread>

class TuneSession;

// Plays a MIDI file once through a software synthesizer, driven like a multimedia control:
// "open", "prev", "play", "close" (case-insensitive). Everything slow (loading the sound
// font, opening and closing the audio device, playing) happens on a worker thread, so no
// command and not the destructor ever waits for it. Silent on any failure: no synthesizer
// in the build, no sound font, no audio device, a file that is not MIDI. When the tune has
// ended the synthesizer and the audio device are released, so an idle player costs nothing.
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
    // From "play" until the worker reports that it has released everything.
    bool isPlaying() const { return m_session != nullptr; }
    int playCount() const { return m_playCount; }

    // DORVALA_SOUNDFONT when set (even if it does not exist, so that a machine can be made
    // silent), else the first General MIDI font found; empty when there is none.
    static QString soundFont();
    // Renders the whole tune offline into a wave file, on the calling thread (a 30 s tune
    // takes about 1.5 s); false when it cannot.
    static bool renderToWave(const QString &midi, const QString &wav);

signals:
    // The tune has ended or could not be played, and everything is released. Not emitted
    // after "close".
    void finished();

private:
    void play();
    void stop();
    void worker_Finished(const TuneSession *session);

    QString m_fileName;
    bool m_open = false;
    int m_playCount = 0;
    std::shared_ptr<TuneSession> m_session;
    std::thread m_worker;
};
