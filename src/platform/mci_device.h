#pragma once

#include <QString>

#include <functional>

// One device of Windows' media control interface (winmm's mciSendStringW), opened on one
// file under a name of its own: "waveaudio" for a wave file, "sequencer" for a MIDI file.
// Every command answers at once; playing goes on in the system. All calls on the thread
// that runs the event loop (the end of a play is reported through it).
class MciDevice
{
public:
    MciDevice() = default;
    MciDevice(const MciDevice &) = delete;
    MciDevice &operator=(const MciDevice &) = delete;
    // Closes the device; a sound still playing stops.
    ~MciDevice();

    // false when the system refuses the file (missing, not that kind of file, no device).
    bool open(const QString &path, const QString &type);
    bool isOpen() const { return !m_alias.isEmpty(); }
    // Back to the start; a sound still playing stops.
    void rewind();
    // Plays from the start; false when the system refuses. `ended` runs once, on this
    // thread, when the whole file has played; not when the play is cut short by another
    // play, a rewind or the close.
    bool play(std::function<void()> ended = {});
    void close();

    // The device's mode as the system reports it ("playing", "stopped", ...), empty when
    // it cannot say.
    QString mode() const;
    // The answer to one command string (0 is success), for the commands above and tests.
    static unsigned send(const QString &command, QString *reply = nullptr);

private:
    QString m_alias;
    unsigned m_id = 0;
    std::function<void()> m_ended;
    friend struct MciNotifications;
};
