#include "sound_cue.h"

#include "media_command.h"
#include "sound_effects.h"

namespace {

bool hasAudioOutput()
{
    // Without one an effect only complains, at load and at every play.
    const SoundEffects *effects = SoundEffects::get();
    return effects && effects->hasAudioOutput();
}

} // namespace

// Qt Multimedia's effect player; made when there is an audio device to play on.
struct SoundCue::Output
{
    QString path;
    std::unique_ptr<QObject> effect;

    void makeEffect() { effect.reset(SoundEffects::get()->make(path)); }
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
    SoundEffects::get()->play(m_output->effect.get());
}
