#include "sound_cue.h"

#include "media_command.h"

#include <QAudioDevice>
#include <QMediaDevices>
#include <QSoundEffect>
#include <QUrl>

namespace {

bool hasAudioOutput()
{
    // Without one an effect only complains, at load and at every play.
    return !QMediaDevices::defaultAudioOutput().isNull();
}

} // namespace

// Qt Multimedia's effect player; made when there is an audio device to play on.
struct SoundCue::Output
{
    QString path;
    std::unique_ptr<QSoundEffect> effect;

    void makeEffect()
    {
        // Measured: seven opened effects that have played once cost no CPU at idle, with
        // or without a sound server, and about 3 MB together; the decoded sample is shared
        // between effects of the same file.
        effect = std::make_unique<QSoundEffect>();
        effect->setSource(QUrl::fromLocalFile(path));
    }
};

SoundCue::SoundCue(QObject *parent)
    : QObject(parent)
{
}

SoundCue::~SoundCue() = default;

void SoundCue::open()
{
    close();
    const QString path = MediaCommand::playableFile(m_fileName);
    if (path.isEmpty())
        return;
    m_output = std::make_unique<Output>();
    m_output->path = path;
    m_open = true;
    // Decoding starts now, in the background, so that the first play is on time.
    if (hasAudioOutput())
        m_output->makeEffect();
}

void SoundCue::close()
{
    m_output.reset();
    m_open = false;
}

void SoundCue::rewind()
{
    // Nothing to do: every play starts at the beginning.
}

void SoundCue::play()
{
    if (!hasAudioOutput())
        return;
    if (!m_output->effect)
        m_output->makeEffect();  // the device came after the open
    m_output->effect->play();
}
