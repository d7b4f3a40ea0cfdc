#include "fuzz_app.h"

#include <QCoreApplication>

#include <memory>

void ensureFuzzApplication()
{
    if (QCoreApplication::instance())
        return;
    // The application keeps references to argc and argv; libFuzzer's own arguments are not
    // for Qt to read.
    static int argc = 1;
    static char name[] = "fuzz";
    static char *argv[] = {name, nullptr};
    static std::unique_ptr<QCoreApplication> app = std::make_unique<QCoreApplication>(argc, argv);
}
