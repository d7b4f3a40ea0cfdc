#pragma once

// The operating system's socket library, started for the whole program. Windows' Winsock
// must be started before a process makes its first socket; Qt's own sockets start it for
// themselves, but libminiupnpc does not, and without it every call on the router's UPnP
// worker fails at once (WSANOTINITIALISED). Call once, before the first screen. Elsewhere
// sockets need no start.
namespace SocketLibrary {

// True when the program can make sockets. Starts Winsock once however often it is called
// and never stops it: a UPnP call may still be blocking on its worker when main() returns.
bool start();

} // namespace SocketLibrary
