#include "sound_cue.h"

#include "media_command.h"

#include <QFileInfo>

namespace {

constexpr qsizetype logLimit = 1000;

} // namespace

void SoundCue::setFileName(const QString &fileName)
{
    m_fileName = fileName;
    emit fileNameChanged(fileName);
}

void SoundCue::command(const QString &command)
{
    if (m_log.size() >= logLimit)
        m_log.removeFirst();
    m_log.append(command);
    emit commandReceived(command);

    switch (MediaCommand::verb(command)) {
    case MediaCommand::Verb::Open:
        open();
        break;
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
        close();
        break;
    case MediaCommand::Verb::Unknown:
        break;
    }
    // Anything else is ignored, as the device would refuse it.
}

QString SoundCue::resolvePath(const QString &fileName)
{
    QString path;
    path.reserve(fileName.size());
    for (const QChar c : fileName) {
        const QChar s = c == u'\\' ? QChar(u'/') : c;
        // Keep a leading pair: it names a network share on Windows.
        if (s == u'/' && path.endsWith(u'/') && path.size() > 1)
            continue;
        path.append(s);
    }
    // A backslash is an ordinary character in names elsewhere than Windows.
    if (path != fileName && !QFileInfo::exists(path) && QFileInfo::exists(fileName))
        return fileName;
    return path;
}

QString SoundCue::joinProgramPath(const QString &folder, const QString &fileText)
{
    return resolvePath(folder + fileText);
}
