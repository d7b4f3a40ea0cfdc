#include "tune_player.h"

#include "sound_cue.h"
#include "tune_session.h"

#include <QMetaObject>

#include <thread>

// A software synthesizer on a worker thread of its own, one per playing.
struct TunePlayer::Output
{
    std::shared_ptr<TuneSession> session;
    std::thread worker;
    QString midi;
};

TunePlayer::TunePlayer(QObject *parent)
    : QObject(parent)
    , m_output(std::make_unique<Output>())
{
}

TunePlayer::~TunePlayer()
{
    stop();
}

bool TunePlayer::isPlaying() const
{
    return m_output->session != nullptr;
}

bool TunePlayer::open(const QString &path)
{
    // The file is read when it plays, on the worker.
    m_output->midi = path;
    return true;
}

void TunePlayer::rewind()
{
    // Nothing to do: a tune always starts at its beginning.
}

void TunePlayer::play()
{
    Output &out = *m_output;
    if (out.session) {
        out.session->requestRestart();
        return;
    }
    out.session = std::make_shared<TuneSession>();
    out.worker = std::thread([this, session = out.session, midi = out.midi] {
        // The report runs under the session's lock, and stop() takes that lock before this
        // object can go: so `this` is alive whenever the report is made.
        session->run(midi, [this, raw = session.get()] {
            QMetaObject::invokeMethod(
                this, [this, raw] { output_Finished(raw); }, Qt::QueuedConnection);
        });
    });
}

void TunePlayer::stop()
{
    Output &out = *m_output;
    if (!out.session)
        return;
    out.session->requestStop();
    TuneSession::retire(std::move(out.worker), *out.session);
    out.session.reset();
}

void TunePlayer::output_Finished(const void *which)
{
    Output &out = *m_output;
    if (out.session.get() != which)
        return;  // a report from a worker that was stopped meanwhile
    // The worker has only its return left to do.
    if (out.worker.joinable())
        out.worker.join();
    out.session.reset();
    emit finished();
}

QString TunePlayer::soundFont()
{
    return TuneSession::soundFont();
}

bool TunePlayer::renderToWave(const QString &midi, const QString &wav)
{
    return TuneSession::render(SoundCue::resolvePath(midi), wav);
}
