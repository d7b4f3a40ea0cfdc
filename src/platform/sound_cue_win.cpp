#include "sound_cue.h"

#include "mci_device.h"

#include <QFileInfo>

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
    const QFileInfo file(resolvePath(m_fileName));
    if (m_fileName.isEmpty() || !file.isFile() || !file.isReadable())
        return;
    auto output = std::make_unique<Output>();
    if (!output->device.open(file.absoluteFilePath(), QStringLiteral("waveaudio")))
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
