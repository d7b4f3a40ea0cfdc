#include "media_command.h"

#include "sound_cue.h"

#include <QFileInfo>

MediaCommand::Verb MediaCommand::verb(const QString &command)
{
    const QString word = command.trimmed().toLower();
    if (word == QLatin1String("open"))
        return Verb::Open;
    if (word == QLatin1String("prev"))
        return Verb::Prev;
    if (word == QLatin1String("play"))
        return Verb::Play;
    if (word == QLatin1String("close"))
        return Verb::Close;
    return Verb::Unknown;
}

QString MediaCommand::playableFile(const QString &fileName)
{
    if (fileName.isEmpty())
        return {};
    const QFileInfo file(SoundCue::resolvePath(fileName));
    return file.isFile() && file.isReadable() ? file.absoluteFilePath() : QString();
}
