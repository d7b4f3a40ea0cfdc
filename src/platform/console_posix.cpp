#include "console.h"

#include <csignal>

void attachStandardStreams()
{
    // A reader of our output that has gone (a director of --control, a pager) must not take
    // the program down with a broken pipe: the write fails, the program goes on.
    std::signal(SIGPIPE, SIG_IGN);
}

bool hasWindowSystem()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

QStringList programArguments(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}
