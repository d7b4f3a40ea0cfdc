#pragma once

#include <QtGlobal>

// Socket options that Qt does not offer, set on a socket's native descriptor (a file
// descriptor on POSIX systems, a SOCKET on Windows).
namespace SocketOptions {

// Closing the socket then resets its connection at once (SO_LINGER on, with no time to
// linger) instead of ending it in order; anything not yet sent is dropped. False when the
// option could not be set (no socket, for one).
bool setResetOnClose(qintptr descriptor);

} // namespace SocketOptions
