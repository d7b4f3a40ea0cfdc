#pragma once

#include <QString>

// The local total (the score box `WR`), kept in the score file "C:/dvq" as a one-paragraph
// rich-text document. Every change is saved at once, atomically: a crash leaves the old
// document or the new one, never half of one.
//
// Loading never throws the player's history away. A missing file is created holding "0".
// A file that cannot be read is left alone and the total starts at "0". A file whose text
// is not a whole number (edited by hand, or junk) is copied beside it as "dvq.rusak"
// ("dvq.rusak2", ... when that exists), the total starts at "0", and notice() holds one
// sentence for the player saying so.
class ScoreFile
{
public:
    enum class LoadResult { Loaded, Created, Unreadable, Damaged };

    explicit ScoreFile(const QString &path = defaultPath());
    // Settings::cFile("C:/dvq").
    static QString defaultPath();

    LoadResult load();
    // The total as text, always a whole number ("0" before loading).
    const QString &text() const { return m_text; }
    // Keeps `total` and saves it when it differs from the total held; false when the save
    // failed (notice() says why). The total in memory changes either way, as the screen
    // shows it.
    bool store(const QString &total);
    bool save();

    // A sentence for the player about the last load or save, empty when all went well.
    const QString &notice() const { return m_notice; }
    const QString &path() const { return m_path; }

    // A real document is a few hundred bytes; anything far larger is not read into memory.
    static constexpr qint64 MaxDocumentSize = 64 * 1024;

private:
    LoadResult setAsideDamaged();
    void removeStaleSaves() const;

    QString m_path;
    QString m_text = QStringLiteral("0");
    QString m_notice;
};
