#include "tune_player.h"

#include "mci_device.h"

#include <QMetaObject>

// The system's own MIDI sequencer, as the about screen's multimedia control has it.
struct TunePlayer::Output
{
    MciDevice device;
    QString midi;
    bool playing = false;
    quintptr plays = 0;  // tells the end of one playing from that of an earlier one
};

TunePlayer::TunePlayer(QObject *parent)
    : QObject(parent)
    , m_output(std::make_unique<Output>())
{
}

TunePlayer::~TunePlayer() = default;

bool TunePlayer::isPlaying() const
{
    return m_output->playing;
}

bool TunePlayer::open(const QString &path)
{
    stop();
    m_output->midi = path;
    return m_output->device.open(path, QStringLiteral("sequencer"));
}

void TunePlayer::rewind()
{
    m_output->device.rewind();
}

void TunePlayer::play()
{
    Output &out = *m_output;
    const auto *playing = reinterpret_cast<const void *>(++out.plays);
    // The sequencer is released after each playing: a new one opens it again.
    if (!out.device.isOpen())
        out.device.open(out.midi, QStringLiteral("sequencer"));
    out.playing = out.device.play([this, playing] { output_Finished(playing); });
    if (!out.playing) {
        out.playing = true;  // until the report, as when a synthesizer gives up
        QMetaObject::invokeMethod(
            this, [this, playing] { output_Finished(playing); }, Qt::QueuedConnection);
    }
}

void TunePlayer::stop()
{
    Output &out = *m_output;
    ++out.plays;  // a failure report still queued is no longer ours
    out.device.close();
    out.playing = false;
}

void TunePlayer::output_Finished(const void *which)
{
    Output &out = *m_output;
    if (reinterpret_cast<quintptr>(which) != out.plays)
        return;
    // Released once played, so that an idle player holds no MIDI device.
    out.device.close();
    out.playing = false;
    emit finished();
}

QString TunePlayer::soundFont()
{
    return {};
}

bool TunePlayer::renderToWave(const QString &, const QString &)
{
    return false;
}
