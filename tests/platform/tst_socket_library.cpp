#include "platform/socket_library.h"

#include <QTest>

#include <thread>

#ifdef Q_OS_WIN
#include <winsock2.h>

namespace {

// Makes and closes one TCP socket through Winsock itself, as libminiupnpc does: 0 when that
// worked, else the error that stopped it.
int socketError()
{
    const SOCKET handle = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    if (handle == INVALID_SOCKET)
        return WSAGetLastError();
    closesocket(handle);
    return 0;
}

} // namespace
#endif

class TstSocketLibrary : public QObject
{
    Q_OBJECT
private slots:
    void startsSocketsForLibrariesOutsideQt();
};

void TstSocketLibrary::startsSocketsForLibrariesOutsideQt()
{
#ifdef Q_OS_WIN
    // Qt's network DLL starts Winsock for itself as it loads, which would hide a start that
    // does nothing. Its starts are taken back first (WSACleanup fails once none is left), so
    // that this process stands where a program whose Qt does not do so would.
    int stops = 0;
    while (WSACleanup() == 0 && stops < 100)
        ++stops;
    QCOMPARE(socketError(), int(WSANOTINITIALISED));

    QVERIFY(SocketLibrary::start());
    QCOMPARE(socketError(), 0);
    // Asked again (another caller, another thread): still started, never stopped.
    bool again = false;
    std::thread other([&] { again = SocketLibrary::start(); });
    other.join();
    QVERIFY(again);
    QCOMPARE(socketError(), 0);
#else
    QSKIP("POSIX sockets need no start");
#endif
}

QTEST_GUILESS_MAIN(TstSocketLibrary)
#include "tst_socket_library.moc"
