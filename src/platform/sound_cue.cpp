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
    m_path = file.absoluteFilePath();
    m_open = true;
    // Decoding starts now, in the background, so that the first play is on time.
    if (hasAudioOutput())
        makeEffect();
}

void SoundCue::makeEffect()
{
    // Measured: seven opened effects that have played once cost no CPU at idle, with or
    // without a sound server, and about 3 MB together; the decoded sample is shared
    // between effects of the same file.
    m_effect = new QSoundEffect(this);
    m_effect->setSource(QUrl::fromLocalFile(m_path));
}

bool SoundCue::hasAudioOutput()
{
    // Without one an effect only complains, at load and at every play.
    return !QMediaDevices::defaultAudioOutput().isNull();
}

void SoundCue::close()
{
    delete m_effect;
    m_effect = nullptr;
    m_path.clear();
    m_open = false;
}

void SoundCue::play()
{
    ++m_playCount;
    if (!m_open || !hasAudioOutput())
        return;
    if (!m_effect)
        makeEffect();  // the device came after the open
    m_effect->play();
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
