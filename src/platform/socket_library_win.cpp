#include "socket_library.h"

#include <winsock2.h>

bool SocketLibrary::start()
{
    // WSAStartup counts its calls; one for the whole program is enough, made on whichever
    // thread asks first.
    static const bool started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    return started;
}
