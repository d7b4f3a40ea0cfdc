#include "fuzz_app.h"

#include <QApplication>
#include <QTemporaryDir>

#include <memory>

void ensureFuzzApplication()
{
    if (QCoreApplication::instance())
        return;
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Files the code under test writes (the score file) go to a private folder, never to
    // the user's real drive-C folder.
    static QTemporaryDir driveC;
    qputenv("DORVALA_DRIVE_C", driveC.path().toLocal8Bit());
    qputenv("DORVALA_LOCAL_IP", "127.0.0.1");
    // QApplication keeps references to argc and argv; libFuzzer's own arguments are not
    // for Qt to read.
    static int argc = 1;
    static char name[] = "fuzz";
    static char *argv[] = {name, nullptr};
    static std::unique_ptr<QApplication> app = std::make_unique<QApplication>(argc, argv);
}
