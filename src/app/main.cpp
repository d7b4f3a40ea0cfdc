#include "program.h"
#include "shell/screens.h"

#include "platform/console.h"
#include "platform/ftp_transfer.h"
#include "platform/picture_store.h"
#include "platform/screen_font.h"
#include "platform/socket_library.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QIcon>

#include <cstdio>

int main(int argc, char *argv[])
{
    attachStandardStreams();
    // Read before QApplication exists: Qt takes "-name"/"--name" from argv as its own option.
    const QStringList arguments = programArguments(argc, argv);

    QCoreApplication::setOrganizationName(QStringLiteral("Pobrek"));
    QCoreApplication::setApplicationName(QStringLiteral("dorvala"));
    QCoreApplication::setApplicationVersion(QStringLiteral("1.0.0"));

    // Help, version and a wrong command line need no window system at all.
    const Program::Options options = Program::parse(arguments);
    if (!options.ok || options.exitNow) {
        std::fputs(qPrintable(options.message + u'\n'), options.ok ? stdout : stderr);
        return options.ok ? 0 : 2;
    }
    // The demo plays offscreen when there is no display to show it on.
    if (!options.demo.isEmpty() && !hasWindowSystem() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");

    // Before the router's UPnP worker can start: libminiupnpc makes its sockets itself.
    SocketLibrary::start();
    QApplication app(argc, argv);
    // The title's splash is the largest picture before the first frame: decoded beside the
    // rest of the start, on the other core. Not on Windows: there the windows platform's own
    // start raced the decoder's plugin loading and crashed under Wine.
#ifndef Q_OS_WIN
    if (options.demo.isEmpty() && !options.computer)
        PictureStore::decodeAhead(QStringLiteral("DK"));
#endif
    ScreenFont::settle();

    QApplication::setWindowIcon(QIcon(PictureStore::picture(QStringLiteral("Icon"))));
    Screens screens;
    Program program(screens);
    program.watchSignals();
    program.start(options);
    const int status = app.exec();
    // A host that closed has just started withdrawing its registry entry (or waits for its
    // upload to end first): let it finish.
    // Its router mappings go meanwhile; the router answers within 3 s or not at all.
    QElapsedTimer exitWait;
    exitWait.start();
    FtpTransfer::waitForPending(Screens::ExitWaitMs);
    screens.waitForRouter(int(qMax<qint64>(0, qMin<qint64>(3000, Screens::ExitWaitMs - exitWait.elapsed()))));
    return status;
}
