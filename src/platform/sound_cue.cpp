#include "sound_cue.h"

#include <QAudioDevice>
#include <QFileInfo>
#include <QMediaDevices>
#include <QSoundEffect>
#include <QUrl>

namespace {

constexpr qsizetype logLimit = 1000;

} // namespace

SoundCue::SoundCue(QObject *parent)
    : QObject(parent)
{
}

SoundCue::~SoundCue() = default;

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

    const QString verb = command.trimmed().toLower();
    if (verb == QLatin1String("open"))
        open();
    else if (verb == QLatin1String("play"))
        play();
    else if (verb == QLatin1String("close"))
        close();
    // "prev" needs no work: every play starts at the beginning. Anything else is ignored,
    // as the device would refuse it.
}

void SoundCue::open()
{
    close();
    const QFileInfo file(resolvePath(m_fileName));
    if (m_fileName.isEmpty() || !file.isFile() || !file.isReadable())
        return;
    // The sample is decoded in the background and shared between effects of the same file.
    // Measured: seven opened effects that have played once cost no CPU at idle, with or
    // without a sound server, and about 3 MB together.
    m_effect = new QSoundEffect(this);
    m_effect->setSource(QUrl::fromLocalFile(file.absoluteFilePath()));
    m_open = true;
}

void SoundCue::close()
{
    delete m_effect;
    m_effect = nullptr;
    m_open = false;
}

void SoundCue::play()
{
    ++m_playCount;
    // Without an audio device the effect would only complain on every play.
    if (!m_effect || QMediaDevices::defaultAudioOutput().isNull())
        return;
    m_effect->play();
}

QString SoundCue::resolvePath(const QString &fileName)
{
    if (fileName.isEmpty() || QFileInfo::exists(fileName))
        return fileName;
    QString path;
    path.reserve(fileName.size());
    for (const QChar c : fileName) {
        const QChar s = c == u'\\' ? QChar(u'/') : c;
        // Keep a leading pair: it names a network share on Windows.
        if (s == u'/' && path.endsWith(u'/') && path.size() > 1)
            continue;
        path.append(s);
    }
    return path;
}

QString SoundCue::joinProgramPath(const QString &folder, const QString &fileText)
{
    return resolvePath(folder + fileText);
}
