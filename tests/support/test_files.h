#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

// File chores the tests share.
namespace TestFiles {

inline bool write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// The whole file, or nothing when it cannot be read.
inline QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A wave file for a cue to open: the build's own when it is beside the programs, else a
// few bytes, since opening needs only a readable file and no test listens.
inline bool writeCue(const QString &path)
{
    const QString shipped = QStringLiteral(DORVALA_BIN_DIR "/WIN.wav");
    return QFile::exists(shipped) ? QFile::copy(shipped, path) : write(path, "RIFF");
}

} // namespace TestFiles
