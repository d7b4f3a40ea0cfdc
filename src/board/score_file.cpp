#include "score_file.h"

#include "rules/total_text.h"
#include "platform/rtf_document.h"
#include "platform/settings.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

ScoreFile::ScoreFile(const QString &path)
    : m_path(path)
{
}

QString ScoreFile::defaultPath()
{
    return Settings::cFile(QStringLiteral("C:/dvq"));
}

ScoreFile::LoadResult ScoreFile::load()
{
    m_text = QStringLiteral("0");
    m_notice.clear();
    removeStaleSaves();

    const QFileInfo info(m_path);
    if (info.exists() && info.isFile() && info.size() > MaxDocumentSize)
        return setAsideDamaged();

    RtfDocument::LoadStatus status = RtfDocument::LoadStatus::Ok;
    const QString text = RtfDocument::load(m_path, &status);
    switch (status) {
    case RtfDocument::LoadStatus::Missing:
        save();
        return LoadResult::Created;
    case RtfDocument::LoadStatus::Unreadable:
        // Left as it is: it may be fine again next time (a locked or unreadable file), and
        // the first change of the total will try to replace it.
        return LoadResult::Unreadable;
    case RtfDocument::LoadStatus::Ok:
        break;
    }
    const std::optional<qint64> total = TotalText::read(text);
    if (!total)
        return setAsideDamaged();
    m_text = TotalText::write(*total);
    return LoadResult::Loaded;
}

// A save writes a temporary "dvq.XXXXXX" beside the file and renames it over the file; a
// program killed between the two leaves the temporary behind. One older than a minute is
// no save under way (another program on the same folder may be saving this moment). The
// copies of a damaged file ("dvq.rusak2" ...) have names of the same shape and stay.
void ScoreFile::removeStaleSaves() const
{
    const QFileInfo info(m_path);
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-60);
    // The folder's files are few. They are matched by hand: a name filter, like a regular
    // expression, would bring the expression compiler into every player's memory.
    const QString prefix = info.fileName() + u'.';
    const QFileInfoList files = info.dir().entryInfoList(QDir::Files, QDir::NoSort);
    for (const QFileInfo &candidate : files) {
        // The file's own name, a dot, and six letters or digits that are not a damaged
        // file's copy.
        const QString tail = candidate.fileName().mid(prefix.size());
        const bool temporary = candidate.fileName().startsWith(prefix) && tail.size() == 6
                               && !tail.startsWith(QLatin1String("rusak"))
                               && std::all_of(tail.cbegin(), tail.cend(), [](QChar c) {
                                      return c.unicode() < 128 && c.isLetterOrNumber();
                                  });
        if (temporary && candidate.lastModified() < before)
            QFile::remove(candidate.filePath());
    }
}

ScoreFile::LoadResult ScoreFile::setAsideDamaged()
{
    QString copy = m_path + QStringLiteral(".rusak");
    for (int n = 2; QFileInfo::exists(copy) && n < 1000; ++n)
        copy = m_path + QStringLiteral(".rusak") + QString::number(n);
    const QString copyName = QFileInfo(copy).fileName();

    if (QFile::copy(m_path, copy) && save()) {
        m_notice = QStringLiteral("Berkas skor rusak; salinannya disimpan sebagai %1 dan total "
                                  "dimulai dari 0.").arg(copyName);
    } else if (QFileInfo::exists(copy)) {
        m_notice = QStringLiteral("Berkas skor rusak; salinannya disimpan sebagai %1 dan total "
                                  "dimulai dari 0, tetapi total baru belum dapat disimpan.")
                       .arg(copyName);
    } else {
        // Nothing is overwritten now; the player is told before the first change replaces it.
        m_notice = QStringLiteral("Berkas skor rusak dan tidak dapat disalin; total dimulai "
                                  "dari 0 dan berkas lama akan ditimpa saat total berubah.");
    }
    return LoadResult::Damaged;
}

bool ScoreFile::store(const QString &total)
{
    if (total == m_text)
        return true;
    m_text = total;
    return save();
}

bool ScoreFile::save()
{
    QString error;
    if (RtfDocument::save(m_path, m_text, &error)) {
        m_notice.clear();
        return true;
    }
    m_notice = QStringLiteral("Total skor tidak dapat disimpan ke berkas %1: %2")
                   .arg(QFileInfo(m_path).fileName(), error);
    return false;
}
