#include "tune_player.h"

#include "media_command.h"

void TunePlayer::setFileName(const QString &fileName)
{
    m_fileName = fileName;
}

void TunePlayer::command(const QString &command)
{
    switch (MediaCommand::verb(command)) {
    case MediaCommand::Verb::Open: {
        const QString path = MediaCommand::playableFile(m_fileName);
        m_open = !path.isEmpty() && open(path);
        break;
    }
    case MediaCommand::Verb::Prev:
        if (m_open)
            rewind();
        break;
    case MediaCommand::Verb::Play:
        ++m_playCount;
        if (m_open)
            play();
        break;
    case MediaCommand::Verb::Close:
        stop();
        m_open = false;
        break;
    case MediaCommand::Verb::Unknown:
        break;
    }
}
