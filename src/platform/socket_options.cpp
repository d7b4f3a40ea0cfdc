#include "socket_options.h"

#ifdef Q_OS_WIN
#include <winsock2.h>
#else
#include <sys/socket.h>
#endif

bool SocketOptions::setResetOnClose(qintptr descriptor)
{
    if (descriptor == -1)
        return false;
    linger option = {};
    option.l_onoff = 1;
    option.l_linger = 0;
#ifdef Q_OS_WIN
    return ::setsockopt(SOCKET(descriptor), SOL_SOCKET, SO_LINGER,
                        reinterpret_cast<const char *>(&option), sizeof option)
           == 0;
#else
    return ::setsockopt(int(descriptor), SOL_SOCKET, SO_LINGER, &option, sizeof option) == 0;
#endif
}
