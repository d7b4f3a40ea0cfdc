#pragma once

#include <QString>

// The totals of practice against the computer, the player's and the computer's, kept in a
// small file of their own so that the running total of online matches (the score file)
// never sees a practice game. The file is two lines of text, "pemain=N" and "komputer=N";
// a missing file, a missing line or a line that is no total counts 0 and says so in
// notice(). Saves go through QSaveFile: a crash never leaves half a file.
class PracticeTotals
{
public:
    // The per-user data folder's "latihan.txt" (beside the score of the installed game).
    static QString defaultPath();

    explicit PracticeTotals(QString path = defaultPath());

    void load();
    bool save();

    const QString &player() const { return m_player; }
    const QString &computer() const { return m_computer; }
    void setPlayer(const QString &total) { m_player = total; }
    void setComputer(const QString &total) { m_computer = total; }

    const QString &path() const { return m_path; }
    // A sentence for the player after a load or save that did not go as planned.
    const QString &notice() const { return m_notice; }

private:
    QString m_path;
    QString m_player = QStringLiteral("0");
    QString m_computer = QStringLiteral("0");
    QString m_notice;
};
