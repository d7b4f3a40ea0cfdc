#include "practice_totals.h"

#include "rules/total_text.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

constexpr qint64 MaxSize = 4096;  // two short lines; anything bigger is not ours
const QLatin1String PlayerKey("pemain");
const QLatin1String ComputerKey("komputer");

} // namespace

QString PracticeTotals::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)
           + QStringLiteral("/latihan.txt");
}

PracticeTotals::PracticeTotals(QString path)
    : m_path(std::move(path))
{
}

void PracticeTotals::load()
{
    m_player = m_computer = QStringLiteral("0");
    m_notice.clear();
    QFile file(m_path);
    if (!file.exists())
        return;  // no practice yet
    if (!file.open(QIODevice::ReadOnly) || file.size() > MaxSize) {
        m_notice = QStringLiteral("Skor latihan tidak terbaca; mulai dari 0.");
        return;
    }
    bool playerSeen = false;
    bool computerSeen = false;
    const QStringList lines = QString::fromUtf8(file.read(MaxSize)).split(u'\n');
    for (const QString &line : lines) {
        const qsizetype equals = line.indexOf(u'=');
        if (equals < 0)
            continue;
        const QStringView key = QStringView(line).left(equals).trimmed();
        const std::optional<qint64> total = TotalText::read(QStringView(line).mid(equals + 1));
        if (!total)
            continue;
        if (key == PlayerKey) {
            m_player = TotalText::write(*total);
            playerSeen = true;
        } else if (key == ComputerKey) {
            m_computer = TotalText::write(*total);
            computerSeen = true;
        }
    }
    if (!playerSeen || !computerSeen)
        m_notice = QStringLiteral("Skor latihan rusak; yang tak terbaca dihitung 0.");
}

bool PracticeTotals::save()
{
    m_notice.clear();
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    QSaveFile file(m_path);
    const QByteArray text = QStringLiteral("%1=%2\n%3=%4\n")
                                .arg(PlayerKey, TotalText::write(TotalText::read(m_player).value_or(0)),
                                     ComputerKey, TotalText::write(TotalText::read(m_computer).value_or(0)))
                                .toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit()) {
        m_notice = QStringLiteral("Skor latihan tidak dapat disimpan: ") + file.errorString();
        return false;
    }
    return true;
}
