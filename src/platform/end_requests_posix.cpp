#include "end_requests.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int g_signalPipe[2] = {-1, -1};

void signalHandler(int)
{
    const char byte = 1;
    // Only async-signal-safe work here: the event loop does the rest.
    [[maybe_unused]] const ssize_t written = ::write(g_signalPipe[0], &byte, 1);
}

} // namespace

EndRequests::EndRequests(QObject *parent)
    : QObject(parent)
{
}

EndRequests::~EndRequests() = default;

bool EndRequests::watch()
{
    if (g_signalPipe[0] >= 0 || ::socketpair(AF_UNIX, SOCK_STREAM, 0, g_signalPipe) != 0)
        return false;
    auto *notifier = new QSocketNotifier(g_signalPipe[1], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        char byte = 0;
        [[maybe_unused]] const ssize_t got = ::read(g_signalPipe[1], &byte, 1);
        emit requested();
    });
    struct sigaction action = {};
    action.sa_handler = signalHandler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    return sigaction(SIGINT, &action, nullptr) == 0 && sigaction(SIGTERM, &action, nullptr) == 0;
}

