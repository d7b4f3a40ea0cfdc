#pragma once

#include <QString>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

// One playing of a tune on a worker thread, shared between that worker and the player
// that started it. The worker owns the synthesizer and the audio device; the player only
// asks it to stop or to start over. Closing an audio device can take a second or more
// (the sound server plays out what it holds), so a player never waits for its worker:
// it retires it, and retired workers are joined when they end or, at the latest, when
// the program ends.
class TuneSession
{
public:
    TuneSession() = default;
    TuneSession(const TuneSession &) = delete;
    TuneSession &operator=(const TuneSession &) = delete;

    // On the worker: plays `midi` to its end or until stopped, releases everything, then
    // calls `reportDone` (under the session's lock) unless a stop came first.
    void run(const QString &midi, const std::function<void()> &reportDone);

    // From the player: end as soon as possible and report nothing.
    void requestStop();
    // From the player: play the tune again from its beginning.
    void requestRestart();

    // Takes over the worker of a stopped session and joins it once it has ended.
    static void retire(std::thread worker, const TuneSession &session);

    static QString soundFont();
    static bool render(const QString &midi, const QString &wav);

private:
    void play(const QString &midi);

    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stop = false;
    bool m_restart = false;
    std::atomic<bool> m_finished = false;
};
