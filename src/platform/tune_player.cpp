#include "tune_player.h"

#include "sound_cue.h"

#include <QFileInfo>

void TunePlayer::setFileName(const QString &fileName)
{
    m_fileName = fileName;
}

void TunePlayer::command(const QString &command)
{
    const QString verb = command.trimmed().toLower();
    if (verb == QLatin1String("open")) {
        const QFileInfo file(SoundCue::resolvePath(m_fileName));
        m_open = !m_fileName.isEmpty() && file.isFile() && file.isReadable()
                 && open(file.absoluteFilePath());
    } else if (verb == QLatin1String("prev")) {
        if (m_open)
            rewind();
    } else if (verb == QLatin1String("play")) {
        ++m_playCount;
        if (m_open)
            play();
    } else if (verb == QLatin1String("close")) {
        stop();
        m_open = false;
    }
}
