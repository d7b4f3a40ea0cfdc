#include "tune_session.h"

#include "settings.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QList>

#include <chrono>
#include <vector>

#include "fluid_library.h"
#ifdef __GLIBC__
#include <malloc.h>
#endif

using namespace std::chrono_literals;

namespace {

#ifdef DORVALA_HAVE_FLUIDSYNTH

// Notes still ringing after the last event are let out before the device closes.
constexpr auto releaseTail = 1500ms;
constexpr auto pollInterval = 20ms;
// An offline rendering stops here even if the file never ends: 10 minutes of 64 frames.
constexpr long renderBlockLimit = 44100L * 60 * 10 / 64;

void silenceLibraryLog(const FluidLibrary &fl)
{
    static std::once_flag once;
    std::call_once(once, [&fl] {
        // The library reports a missing device or font on stderr; for us both mean silence.
        for (int level : {FLUID_ERR, FLUID_WARN, FLUID_INFO, FLUID_DBG})
            fl.fluid_set_log_function(level, nullptr, nullptr);
    });
}

#if !defined(Q_OS_WIN) && !defined(Q_OS_MACOS)
bool hasSoundCard()
{
    QFile cards(QStringLiteral("/proc/asound/cards"));
    if (!cards.open(QIODevice::ReadOnly))
        return false;
    const QByteArray list = cards.read(4096);
    return !list.trimmed().isEmpty() && !list.contains("no soundcards");
}
#endif

// One synthesizer with its font, a player of one file and, when asked, an audio device.
class Synth
{
public:
    explicit Synth(const FluidLibrary &library)
        : fl(library)
        , m_settings(fl.new_fluid_settings())
    {
        silenceLibraryLog(fl);
        // One rendering thread and no locked memory: this is background music.
        fl.fluid_settings_setint(m_settings, "synth.cpu-cores", 1);
        fl.fluid_settings_setint(m_settings, "synth.lock-memory", 0);
        // The library's default leaves room for dozens of loud voices; a tune of a few
        // instruments would be barely audible beside the wave cues.
        fl.fluid_settings_setnum(m_settings, "synth.gain", 0.5);
    }
    ~Synth()
    {
        if (m_driver)
            fl.delete_fluid_audio_driver(m_driver);  // first: its thread drives the others
        if (m_player)
            fl.delete_fluid_player(m_player);
        if (m_synth)
            fl.delete_fluid_synth(m_synth);
        fl.delete_fluid_settings(m_settings);
    }
    Synth(const Synth &) = delete;
    Synth &operator=(const Synth &) = delete;

    fluid_settings_t *settings() const { return m_settings; }
    fluid_synth_t *synth() const { return m_synth; }
    fluid_player_t *player() const { return m_player; }

    bool load(const QString &midi)
    {
        const QString font = TuneSession::soundFont();
        const QByteArray midiName = QFile::encodeName(midi);
        if (font.isEmpty() || !QFileInfo(font).isFile() || !QFileInfo(midi).isFile()
            || !fl.fluid_is_midifile(midiName.constData()))
            return false;
        m_synth = fl.new_fluid_synth(m_settings);
        if (!m_synth
            || fl.fluid_synth_sfload(m_synth, QFile::encodeName(font).constData(), 1)
                   == FLUID_FAILED)
            return false;
        m_player = fl.new_fluid_player(m_synth);
        return m_player
               && fl.fluid_player_add(m_player, midiName.constData()) == FLUID_OK;
    }

    // The drivers that need no set-up of their own, most likely first. Never JACK: it may
    // start a sound server of its own.
    bool openDevice()
    {
        // Large periods: a tune needs no low latency, and fewer wake-ups cost less.
        fl.fluid_settings_setint(m_settings, "audio.period-size", 1024);
        fl.fluid_settings_setint(m_settings, "audio.periods", 4);
#if defined(Q_OS_WIN)
        const QList<QByteArray> drivers{"wasapi", "dsound", "waveout"};
#elif defined(Q_OS_MACOS)
        const QList<QByteArray> drivers{"coreaudio"};
#else
        QList<QByteArray> drivers{"pulseaudio", "pipewire"};
        // ALSA (and SDL, which falls back to it) writes a page of complaints to stderr
        // when the machine has no sound card at all.
        if (hasSoundCard())
            drivers << "alsa" << "sdl2";
#endif
        for (const QByteArray &driver : drivers) {
            if (fl.fluid_settings_setstr(m_settings, "audio.driver", driver.constData()) != FLUID_OK)
                continue;
            m_driver = fl.new_fluid_audio_driver(m_settings, m_synth);
            if (m_driver)
                return true;
        }
        return false;
    }

private:
    const FluidLibrary &fl;
    fluid_settings_t *m_settings;
    fluid_synth_t *m_synth = nullptr;
    fluid_player_t *m_player = nullptr;
    fluid_audio_driver_t *m_driver = nullptr;
};

#endif

// Workers whose players have gone. Joined as they are found finished, and all of them
// when the application object goes (or, without one, when the program ends).
class Retired
{
public:
    static Retired &instance()
    {
        static Retired retired;
        return retired;
    }
    ~Retired() { joinAll(); }

    void add(std::thread worker, bool finished)
    {
        const std::lock_guard lock(m_mutex);
        if (finished) {
            worker.join();
            return;
        }
        m_workers.push_back(std::move(worker));
        if (!m_hooked && QCoreApplication::instance()) {
            m_hooked = true;
            qAddPostRoutine([] { Retired::instance().joinAll(); });
        }
    }

    void joinAll()
    {
        std::vector<std::thread> workers;
        {
            const std::lock_guard lock(m_mutex);
            workers.swap(m_workers);
        }
        for (std::thread &worker : workers) {
            if (worker.joinable())
                worker.join();
        }
    }

private:
    Retired() = default;

    std::mutex m_mutex;
    std::vector<std::thread> m_workers;
    bool m_hooked = false;
};

} // namespace

void TuneSession::run(const QString &midi, const std::function<void()> &reportDone)
{
    play(midi);
#ifdef __GLIBC__
    // The font's 20 MB were allocated on this thread's own heap, which the C library keeps
    // for reuse after the thread has gone; give it back to the system.
    malloc_trim(0);
#endif
    const std::lock_guard lock(m_mutex);
    m_finished = true;
    if (!m_stop && reportDone)
        reportDone();
}

void TuneSession::requestStop()
{
    const std::lock_guard lock(m_mutex);
    m_stop = true;
    m_wake.notify_all();
}

void TuneSession::requestRestart()
{
    const std::lock_guard lock(m_mutex);
    m_restart = true;
    m_wake.notify_all();
}

void TuneSession::retire(std::thread worker, const TuneSession &session)
{
    if (worker.joinable())
        Retired::instance().add(std::move(worker), session.m_finished);
}

void TuneSession::play(const QString &midi)
{
#ifdef DORVALA_HAVE_FLUIDSYNTH
    const FluidLibrary *library = FluidLibrary::get();
    if (!library)
        return;
    const FluidLibrary &fl = *library;
    Synth synth(fl);
    if (!synth.load(midi) || !synth.openDevice())
        return;
    fluid_player_t *player = synth.player();
    std::unique_lock lock(m_mutex);
    if (!m_stop)
        fl.fluid_player_play(player);
    bool ended = false;
    auto endedAt = std::chrono::steady_clock::now();
    while (!m_stop) {
        m_wake.wait_for(lock, pollInterval, [this] { return m_stop || m_restart; });
        if (m_stop)
            break;
        if (m_restart) {
            m_restart = false;
            ended = false;
            if (fl.fluid_player_get_status(player) == FLUID_PLAYER_PLAYING)
                fl.fluid_player_seek(player, 0);
            else
                fl.fluid_player_play(player);
            continue;
        }
        if (fl.fluid_player_get_status(player) != FLUID_PLAYER_DONE)
            continue;
        const auto now = std::chrono::steady_clock::now();
        if (!ended) {
            ended = true;
            endedAt = now;
        } else if (now - endedAt >= releaseTail) {
            break;
        }
    }
    fl.fluid_player_stop(player);
    lock.unlock();  // closing the device may take a while; the player must not wait on it
#else
    Q_UNUSED(midi);
#endif
}

QString TuneSession::soundFont()
{
    if (qEnvironmentVariableIsSet("DORVALA_SOUNDFONT"))
        return qEnvironmentVariable("DORVALA_SOUNDFONT");
    const QStringList candidates{
        Settings::programFolder() + QStringLiteral("/TimGM6mb.sf2"),
        QStringLiteral("/usr/share/sounds/sf2/TimGM6mb.sf2"),
        QStringLiteral("/usr/share/sounds/sf2/default-GM.sf2"),
    };
    for (const QString &candidate : candidates) {
        if (QFileInfo(candidate).isFile())
            return candidate;
    }
    return {};
}

bool TuneSession::render(const QString &midi, const QString &wav)
{
#ifdef DORVALA_HAVE_FLUIDSYNTH
    const FluidLibrary *library = FluidLibrary::get();
    if (!library)
        return false;
    const FluidLibrary &fl = *library;
    Synth synth(fl);
    fluid_settings_t *settings = synth.settings();
    fl.fluid_settings_setstr(settings, "audio.file.name", QFile::encodeName(wav).constData());
    fl.fluid_settings_setstr(settings, "audio.file.type", "wav");
    fl.fluid_settings_setstr(settings, "player.timing-source", "sample");
    if (!synth.load(midi))
        return false;
    fl.fluid_player_play(synth.player());
    fluid_file_renderer_t *renderer = fl.new_fluid_file_renderer(synth.synth());
    if (!renderer)
        return false;
    bool ok = true;
    for (long block = 0; fl.fluid_player_get_status(synth.player()) == FLUID_PLAYER_PLAYING;
         ++block) {
        if (block >= renderBlockLimit
            || fl.fluid_file_renderer_process_block(renderer) != FLUID_OK) {
            ok = block > 0;
            break;
        }
    }
    fl.fluid_player_stop(synth.player());
    fl.delete_fluid_file_renderer(renderer);  // closes the file
    return ok && QFileInfo(wav).size() > 44;
#else
    Q_UNUSED(midi);
    Q_UNUSED(wav);
    return false;
#endif
}
