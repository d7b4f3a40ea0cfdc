#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

// One multimedia control bound to a short wave file, driven by command strings: "open"
// binds the device to the file, "prev" rewinds, "play" sounds it from the start without
// waiting (cutting short a sound still playing), "close" releases the device. Commands are
// case-insensitive. Any failure (missing file, no audio device, unknown command, play
// before open) is silent: a cue that cannot sound never disturbs its screen.
class SoundCue : public QObject
{
    Q_OBJECT

public:
    explicit SoundCue(QObject *parent = nullptr);
    ~SoundCue() override;

    // The file name as given; it may hold a doubled separator where a folder ending in
    // one was joined with a name starting with "/": resolvePath() finds the file anyway.
    void setFileName(const QString &fileName);
    QString fileName() const { return m_fileName; }

    void command(const QString &command);

    bool isOpen() const { return m_open; }
    int playCount() const { return m_playCount; }
    // The most recent commands, as received (bounded, oldest dropped first).
    QStringList commandLog() const { return m_log; }

    // The file a program path names, with backslashes turned to "/" and doubled
    // separators collapsed ("C:\/WIN.wav", "/opt/d//WIN.wav"); the name as written only
    // when just that exists (a backslash is an ordinary character outside Windows).
    static QString resolvePath(const QString &fileName);
    // The program folder joined verbatim with a file text such as "/WIN.wav", resolved.
    static QString joinProgramPath(const QString &folder, const QString &fileText);

signals:
    void fileNameChanged(const QString &fileName);
    // Every command, known or not, in the order received.
    void commandReceived(const QString &command);

private:
    // The platform's player (sound_cue_posix.cpp, sound_cue_win.cpp).
    struct Output;
    void open();
    void close();
    void rewind();
    void play();

    QString m_fileName;
    std::unique_ptr<Output> m_output;  // while open
    bool m_open = false;
    int m_playCount = 0;
    QStringList m_log;
};
