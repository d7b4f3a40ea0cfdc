#include "keep_alive.h"

#ifdef Q_OS_WIN
#include <winsock2.h>
#include <mstcpip.h>
#include <ws2tcpip.h>
#else
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#endif

#include <initializer_list>
#include <utility>

bool setKeepAlive(qintptr descriptor, int idle, int interval, int probes)
{
#ifdef Q_OS_WIN
    const SOCKET socket = SOCKET(descriptor);
    tcp_keepalive timers = {};
    timers.onoff = 1;
    timers.keepalivetime = ULONG(idle) * 1000;
    timers.keepaliveinterval = ULONG(interval) * 1000;
    DWORD returned = 0;
    if (WSAIoctl(socket, SIO_KEEPALIVE_VALS, &timers, sizeof timers, nullptr, 0, &returned,
                 nullptr, nullptr)
        != 0)
        return false;
    // The count is an option since Windows 10 version 1703 (value as in ws2ipdef.h, which
    // MinGW's headers lack); older systems refuse it and keep their 10.
    constexpr int tcpKeepCount = 16;
    const DWORD count = DWORD(probes);
    setsockopt(socket, IPPROTO_TCP, tcpKeepCount, reinterpret_cast<const char *>(&count), sizeof count);
    // The longest retransmission of unacknowledged data, in seconds (TCP_MAXRT).
    constexpr int tcpMaxRetransmit = 5;
    const DWORD giveUp = DWORD(idle + interval * probes);
    setsockopt(socket, IPPROTO_TCP, tcpMaxRetransmit, reinterpret_cast<const char *>(&giveUp),
               sizeof giveUp);
    return true;
#else
    const int fd = int(descriptor);
    const int on = 1;
    bool ok = ::setsockopt(fd, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on) == 0;
#ifdef TCP_KEEPIDLE
    for (const auto &[option, value] :
         {std::pair{TCP_KEEPIDLE, idle}, std::pair{TCP_KEEPINTVL, interval}, std::pair{TCP_KEEPCNT, probes}})
        ok = ::setsockopt(fd, IPPROTO_TCP, option, &value, sizeof value) == 0 && ok;
#endif
#ifdef TCP_USER_TIMEOUT
    const unsigned giveUpMs = unsigned(idle + interval * probes) * 1000u;
    ok = ::setsockopt(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, &giveUpMs, sizeof giveUpMs) == 0 && ok;
#endif
    return ok;
#endif
}
