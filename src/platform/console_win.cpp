#include "console.h"

#include <cstdio>

#include <fcntl.h>
#include <io.h>
#include <windows.h>
#include <shellapi.h>

namespace {

bool usable(DWORD which)
{
    const HANDLE handle = GetStdHandle(which);
    return handle != nullptr && handle != INVALID_HANDLE_VALUE;
}

} // namespace

void attachStandardStreams()
{
    // Handles given by the starter (pipes, files, an inherited console) are kept as they are.
    if (!usable(STD_OUTPUT_HANDLE) && !usable(STD_ERROR_HANDLE)
        && AttachConsole(ATTACH_PARENT_PROCESS)) {
        std::freopen("CONOUT$", "w", stdout);
        std::freopen("CONOUT$", "w", stderr);
        if (!usable(STD_INPUT_HANDLE))
            std::freopen("CONIN$", "r", stdin);
    }
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stdin), _O_BINARY);
}

bool hasWindowSystem()
{
    return true;
}

QStringList programArguments(int argc, char *argv[])
{
    QStringList arguments;
    int count = 0;
    if (wchar_t **wide = CommandLineToArgvW(GetCommandLineW(), &count)) {
        for (int i = 0; i < count; ++i)
            arguments << QString::fromWCharArray(wide[i]);
        LocalFree(wide);
        return arguments;
    }
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}
