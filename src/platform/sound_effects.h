#pragma once

#include <QString>

class QObject;

// Qt Multimedia's effect player, from a small module of our own (effect_module/) that is
// loaded at the first cue. Linked into the program, Qt Multimedia would bring PulseAudio
// and its codecs, a dozen libraries, into every start: the title screen, which sounds
// nothing, would pay for loading and relocating them before its first frame.
struct SoundEffects
{
    // Whether the system has an audio output now (it may come and go).
    bool (*hasAudioOutput)();
    // A new effect for the file, decoding in the background; the caller owns it.
    QObject *(*make)(const QString &path);
    // Sounds it from the start, cutting short a play in progress.
    void (*play)(QObject *effect);

    // nullptr when the module cannot be loaded: every cue stays silent.
    static const SoundEffects *get();
};

// The module's one entry point.
using SoundEffectsEntry = const SoundEffects *(*)();
inline constexpr char SoundEffectsEntryName[] = "dorvalaSoundEffects";
