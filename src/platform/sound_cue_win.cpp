#include "sound_cue.h"

#include "media_command.h"

#include "mci_device.h"


// The system's own wave player, as the multimedia control of the screens this program
// models: open as waveaudio, seek to the start, play.
struct SoundCue::Output
{
    MciDevice device;
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
    auto output = std::make_unique<Output>();
    if (!output->device.open(path, QStringLiteral("waveaudio")))
        return;  // not a wave file the system can play, or no device: silent
    m_output = std::move(output);
    m_open = true;
}

void SoundCue::close()
{
    m_output.reset();
    m_open = false;
}

void SoundCue::rewind()
{
    m_output->device.rewind();
}

void SoundCue::play()
{
    m_output->device.play();
}
