#include "tune_player.h"

#include "sound_cue.h"
#include "tune_session.h"

#include <QFileInfo>
#include <QMetaObject>

TunePlayer::TunePlayer(QObject *parent)
    : QObject(parent)
{
}

TunePlayer::~TunePlayer()
{
    stop();
}

void TunePlayer::setFileName(const QString &fileName)
{
    m_fileName = fileName;
}

void TunePlayer::command(const QString &command)
{
    const QString verb = command.trimmed().toLower();
    if (verb == QLatin1String("open")) {
        const QFileInfo file(SoundCue::resolvePath(m_fileName));
        m_open = !m_fileName.isEmpty() && file.isFile() && file.isReadable();
    } else if (verb == QLatin1String("play")) {
        ++m_playCount;
        if (m_open)
            play();
    } else if (verb == QLatin1String("close")) {
        stop();
        m_open = false;
    }
    // "prev" needs no work: a tune always starts at its beginning.
}

void TunePlayer::play()
{
    if (m_session) {
        m_session->requestRestart();
        return;
    }
    m_session = std::make_shared<TuneSession>();
    const QString midi = SoundCue::resolvePath(m_fileName);
    m_worker = std::thread([this, session = m_session, midi] {
        // The report runs under the session's lock, and stop() takes that lock before this
        // object can go: so `this` is alive whenever the report is made.
        session->run(midi, [this, raw = session.get()] {
            QMetaObject::invokeMethod(
                this, [this, raw] { worker_Finished(raw); }, Qt::QueuedConnection);
        });
    });
}

void TunePlayer::stop()
{
    if (!m_session)
        return;
    m_session->requestStop();
    TuneSession::retire(std::move(m_worker), *m_session);
    m_session.reset();
}

void TunePlayer::worker_Finished(const TuneSession *session)
{
    if (m_session.get() != session)
        return;  // a report from a worker that was stopped meanwhile
    // The worker has only its return left to do.
    if (m_worker.joinable())
        m_worker.join();
    m_session.reset();
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
