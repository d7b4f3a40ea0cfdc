#include "fluid_library.h"

#ifdef DORVALA_HAVE_FLUIDSYNTH

#include <QLibrary>

const FluidLibrary *FluidLibrary::get()
{
    // Loaded once, from whichever thread asks first, and never unloaded: its audio threads
    // may outlive any one player.
    static const FluidLibrary *const loaded = []() -> const FluidLibrary * {
        static FluidLibrary functions;
        QLibrary library(QStringLiteral("fluidsynth"), 3);
        if (!library.load())
            return nullptr;
#define DORVALA_FLUID_RESOLVE(name)                                                          \
    functions.name = reinterpret_cast<decltype(&::name)>(library.resolve(#name));            \
    if (!functions.name)                                                                     \
        return nullptr;
        DORVALA_FLUID_FUNCTIONS(DORVALA_FLUID_RESOLVE)
#undef DORVALA_FLUID_RESOLVE
        return &functions;
    }();
    return loaded;
}

#endif
