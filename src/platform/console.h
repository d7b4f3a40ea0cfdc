#pragma once

#include <QStringList>

// Gives the program standard streams it can write to. A windowed Windows program has none
// of its own: started from a console (help, version, automation typed by hand) it writes to
// that console, started with pipes or files it keeps them, and its output is written byte
// for byte as on other systems (no "\r" added before "\n"). On POSIX systems a reader that
// has gone makes a write fail instead of ending the program. Call first thing in main().
void attachStandardStreams();

// Whether windows can be shown: always on Windows; elsewhere when a display is named.
bool hasWindowSystem();

// The program's arguments as given, before QApplication exists (which takes some of them
// for itself). On Windows they come from the command line as typed, not through the local
// code page, so that a name such as "Budé€" arrives whole whatever that code page is.
QStringList programArguments(int argc, char *argv[]);
