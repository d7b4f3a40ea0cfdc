// Start-up: from process start to its first window on screen, watched from outside the
// program through the X server. Figures only; run it under Xvfb (DISPLAY set).
//
//   bench_startup [runs, default 20]                 the title screen and a bare Qt window, in turns
//   bench_startup RUNS PROGRAM [ARGUMENTS...]        any other program
//
// For each run the clock starts just before the program is spawned; this watcher then
// blocks on the X connection and takes the time of three events of the program's first
// mapped top-level window: mapped, the first pixels drawn into it and the window wholly
// drawn (both seen through the DAMAGE extension, so the program itself is not touched).
// One warm-up run (font and disk caches) comes before the counted ones. Also the program's
// peak memory (VmHWM) and the CPU time it has used (all threads) at the moment its window is
// wholly drawn; the CPU time varies less than the wall time on a busy machine.
#include "bench_common.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace {

// The two DAMAGE requests used here, sent raw: libxcb-damage's headers are not needed.
xcb_extension_t damageExtension = {"DAMAGE", 0};
constexpr uint8_t kDamageQueryVersion = 0;
constexpr uint8_t kDamageCreate = 1;
constexpr uint8_t kDamageRawRectangles = 0;

struct DamageNotify
{
    uint8_t responseType;
    uint8_t level;
    uint16_t sequence;
    uint32_t drawable;
    uint32_t damage;
    uint32_t timestamp;
    xcb_rectangle_t area;
    xcb_rectangle_t geometry;
};

bool damageQueryVersion(xcb_connection_t *connection)
{
    struct {
        uint8_t major, minor;
        uint16_t length;
        uint32_t clientMajor, clientMinor;
    } request{0, 0, 0, 1, 1};
    const xcb_protocol_request_t how{2, &damageExtension, kDamageQueryVersion, 0};
    iovec parts[4];
    parts[2] = {&request, sizeof request};
    parts[3] = {nullptr, 0};
    const unsigned sequence = xcb_send_request(connection, XCB_REQUEST_CHECKED, parts + 2, &how);
    xcb_generic_error_t *error = nullptr;
    void *reply = xcb_wait_for_reply(connection, sequence, &error);
    std::free(error);
    const bool ok = reply != nullptr;
    std::free(reply);
    return ok;
}

void damageCreate(xcb_connection_t *connection, xcb_window_t window)
{
    struct {
        uint8_t major, minor;
        uint16_t length;
        uint32_t damage, drawable;
        uint8_t level, pad[3];
    } request{0, 0, 0, xcb_generate_id(connection), window, kDamageRawRectangles, {}};
    const xcb_protocol_request_t how{2, &damageExtension, kDamageCreate, 1};
    iovec parts[4];
    parts[2] = {&request, sizeof request};
    parts[3] = {nullptr, 0};
    xcb_send_request(connection, 0, parts + 2, &how);
}

struct Run
{
    std::optional<double> mapped;
    std::optional<double> firstPixels;
    std::optional<double> whole;
    double peakMb = -1;  // VmHWM when the window was wholly drawn
    double cpuMs = -1;   // CPU time used by then (all threads), less sensitive to load
    double faults = -1;  // minor page faults by then: mapping libraries and touching memory
    double systemMs = -1;  // the kernel's part of the CPU time (10 ms ticks)
};

// Minor faults and system time from /proc/PID/stat (fields 10 and 15, after the name).
void readStat(pid_t pid, Run *run)
{
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%d/stat", int(pid));
    FILE *file = std::fopen(path, "r");
    if (!file)
        return;
    char line[1024] = {};
    const size_t got = std::fread(line, 1, sizeof line - 1, file);
    std::fclose(file);
    line[got] = 0;
    const char *rest = std::strrchr(line, ')');
    if (!rest)
        return;
    unsigned long minflt = 0, stime = 0;
    if (std::sscanf(rest + 2, "%*c %*d %*d %*d %*d %*d %*u %lu %*u %*u %*u %*u %lu", &minflt, &stime) == 2) {
        run->faults = double(minflt);
        run->systemMs = double(stime) * 1000.0 / double(sysconf(_SC_CLK_TCK));
    }
}

struct Window
{
    int width = 0;
    int height = 0;
    long covered = 0;
    bool overrideRedirect = false;
};

class Watcher
{
public:
    bool connect()
    {
        m_connection = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(m_connection))
            return false;
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        const xcb_query_extension_reply_t *damage =
            xcb_get_extension_data(m_connection, &damageExtension);
        if (!damage || !damage->present || !damageQueryVersion(m_connection))
            return false;
        m_damageEvent = damage->first_event;
        const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(m_connection);
        return true;
    }

    ~Watcher()
    {
        if (m_connection)
            xcb_disconnect(m_connection);
    }

    // Spawns the program and waits for its window; the program is ended afterwards.
    Run measure(const std::vector<std::string> &command, int timeoutMs = 20000)
    {
        drain();
        m_windows.clear();
        m_shown = XCB_NONE;
        Run run;
        std::vector<char *> argv;
        for (const std::string &word : command)
            argv.push_back(const_cast<char *>(word.c_str()));
        argv.push_back(nullptr);
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        pid_t pid = 0;
        const qint64 started = Bench::monotonicNs();
        const int spawned = posix_spawn(&pid, argv[0], &files, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&files);
        if (spawned != 0) {
            std::fprintf(stderr, "bench_startup: cannot start %s: %s\n", argv[0], std::strerror(spawned));
            return run;
        }
        const auto since = [&] { return double(Bench::monotonicNs() - started) / 1e6; };
        while (!run.whole && since() < timeoutMs) {
            xcb_generic_event_t *event = xcb_poll_for_event(m_connection);
            if (!event) {
                if (xcb_connection_has_error(m_connection))
                    break;
                pollfd fd{xcb_get_file_descriptor(m_connection), POLLIN, 0};
                poll(&fd, 1, 100);
                continue;
            }
            take(event, since(), &run);
            std::free(event);
        }
        if (run.whole) {
            run.peakMb = Bench::procStatusMb("VmHWM", pid);
            run.cpuMs = Bench::scheduledSeconds(pid) * 1e3;
            readStat(pid, &run);
        }
        kill(pid, SIGTERM);
        int status = 0;
        waitpid(pid, &status, 0);
        return run;
    }

private:
    void take(xcb_generic_event_t *event, double at, Run *run)
    {
        const uint8_t type = event->response_type & 0x7f;
        if (type == XCB_CREATE_NOTIFY) {
            const auto *created = reinterpret_cast<xcb_create_notify_event_t *>(event);
            if (created->parent != m_root)
                return;
            Window &window = m_windows[created->window];
            window.width = created->width;
            window.height = created->height;
            window.overrideRedirect = created->override_redirect;
            damageCreate(m_connection, created->window);
            xcb_flush(m_connection);
        } else if (type == XCB_CONFIGURE_NOTIFY) {
            const auto *configured = reinterpret_cast<xcb_configure_notify_event_t *>(event);
            auto found = m_windows.find(configured->window);
            if (found != m_windows.end()) {
                found->second.width = configured->width;
                found->second.height = configured->height;
            }
        } else if (type == XCB_MAP_NOTIFY) {
            const auto *mapped = reinterpret_cast<xcb_map_notify_event_t *>(event);
            auto found = m_windows.find(mapped->window);
            if (m_shown == XCB_NONE && found != m_windows.end() && !found->second.overrideRedirect) {
                m_shown = mapped->window;
                run->mapped = at;
            }
        } else if (type == m_damageEvent) {
            const auto *damage = reinterpret_cast<DamageNotify *>(event);
            if (damage->drawable != m_shown || m_shown == XCB_NONE)
                return;
            Window &window = m_windows[m_shown];
            if (!run->firstPixels)
                run->firstPixels = at;
            window.covered += long(damage->area.width) * damage->area.height;
            if (window.covered >= long(window.width) * window.height)
                run->whole = at;
        }
    }

    // Events of an earlier run's windows are of no interest.
    void drain()
    {
        xcb_aux_sync();
        while (xcb_generic_event_t *event = xcb_poll_for_event(m_connection))
            std::free(event);
    }

    void xcb_aux_sync()
    {
        std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    }

    xcb_connection_t *m_connection = nullptr;
    xcb_window_t m_root = XCB_NONE;
    xcb_window_t m_shown = XCB_NONE;
    uint8_t m_damageEvent = 0;
    std::map<xcb_window_t, Window> m_windows;
};

// One program's runs and their figures.
struct Series
{
    Series(std::string name, std::vector<std::string> line)
        : what(std::move(name)), command(std::move(line))
    {
    }

    std::string what;
    std::vector<std::string> command;
    std::vector<double> mapped, first, whole, peak, cpu, faults, system;
    int missed = 0;
};

// The programs take turns, run by run: this machine's speed drifts within a minute, and
// a drift would otherwise fall on one program's runs alone and skew their ratio.
void measureInTurns(Watcher &watcher, std::vector<Series> &all, int runs)
{
    for (Series &series : all)
        watcher.measure(series.command);  // warm-up
    for (int i = 0; i < runs; ++i) {
        for (Series &series : all) {
            const Run run = watcher.measure(series.command);
            if (!run.whole) {
                ++series.missed;
                continue;
            }
            series.mapped.push_back(*run.mapped);
            series.first.push_back(*run.firstPixels);
            series.whole.push_back(*run.whole);
            series.peak.push_back(run.peakMb);
            series.cpu.push_back(run.cpuMs);
            series.faults.push_back(run.faults);
            series.system.push_back(run.systemMs);
        }
    }
}

void report(const Series &series)
{
    const char *what = series.what.c_str();
    const auto line = [&](const char *event, std::vector<double> values) {
        std::printf("%-14s %-20s median %7.1f ms   p90 %7.1f ms   (%zu runs)\n", what, event,
                    Bench::percentile(values, 50), Bench::percentile(values, 90), values.size());
    };
    line("window mapped", series.mapped);
    line("first pixels drawn", series.first);
    line("window wholly drawn", series.whole);
    line("CPU time until drawn", series.cpu);
    line("of it in the kernel", series.system);
    std::printf("%-14s %-20s median %7.0f      (minor, until wholly drawn)\n", what, "page faults",
                Bench::percentile(series.faults, 50));
    std::printf("%-14s %-20s median %7.1f MB   (VmHWM when wholly drawn)\n", what, "peak memory",
                Bench::percentile(series.peak, 50));
    if (series.missed)
        std::printf("%s: %d runs showed no window within 20 s\n", what, series.missed);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char *argv[])
{
    if (!std::getenv("DISPLAY")) {
        std::fprintf(stderr, "bench_startup: no DISPLAY; run it under xvfb-run\n");
        return 1;
    }
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 20;
    Watcher watcher;
    if (!watcher.connect()) {
        std::fprintf(stderr, "bench_startup: no X server with the DAMAGE extension\n");
        return 1;
    }
    QCoreApplication app(argc, argv);
    // The programs draw on the real X server, with data of their own in a fresh folder.
    QTemporaryDir drive;
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("DORVALA_LOCAL_IP", "127.0.0.1");
    qputenv("DORVALA_DRIVE_C", drive.path().toLocal8Bit());

    std::vector<Series> all;
    if (argc > 2) {
        all.emplace_back(argv[2], std::vector<std::string>(argv + 2, argv + argc));
    } else {
        const std::string folder = QCoreApplication::applicationDirPath().toStdString();
        all.emplace_back("title screen", std::vector<std::string>{folder + "/dorvala"});
        all.emplace_back("bare Qt window", std::vector<std::string>{folder + "/bench_bare_window"});
    }
    measureInTurns(watcher, all, runs);
    for (const Series &series : all)
        report(series);
    return 0;
}
