#include "sound_effects.h"

#include <QCoreApplication>
#include <QLibrary>

const SoundEffects *SoundEffects::get()
{
    // Loaded once, beside the program, and never unloaded: effects made by it may live
    // until the end.
    static const SoundEffects *const loaded = []() -> const SoundEffects * {
        QLibrary module(QCoreApplication::applicationDirPath() + QStringLiteral("/dorvala_sound_effects"));
        const auto entry = reinterpret_cast<SoundEffectsEntry>(module.resolve(SoundEffectsEntryName));
        return entry ? entry() : nullptr;
    }();
    return loaded;
}
