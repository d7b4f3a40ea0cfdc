#pragma once

#ifdef DORVALA_HAVE_FLUIDSYNTH

#include <fluidsynth.h>

// FluidSynth's functions, from the library loaded at its first use. Linked, it would load
// itself and its own few dozen libraries (SDL, JACK, PulseAudio, codecs, ...) into every
// start of the program, for a tune that only the about screen plays: a slower title
// screen and megabytes more in every player's process.
struct FluidLibrary
{
    // nullptr when the library cannot be loaded: the tune stays silent.
    static const FluidLibrary *get();

#define DORVALA_FLUID_FUNCTIONS(X)                                                           \
    X(new_fluid_settings) X(delete_fluid_settings) X(fluid_settings_setint)                 \
    X(fluid_settings_setnum) X(fluid_settings_setstr) X(fluid_set_log_function)             \
    X(new_fluid_synth) X(delete_fluid_synth) X(fluid_synth_sfload) X(fluid_is_midifile)     \
    X(new_fluid_player) X(delete_fluid_player) X(fluid_player_add) X(fluid_player_play)     \
    X(fluid_player_seek) X(fluid_player_stop) X(fluid_player_get_status)                    \
    X(new_fluid_audio_driver) X(delete_fluid_audio_driver) X(new_fluid_file_renderer)       \
    X(delete_fluid_file_renderer) X(fluid_file_renderer_process_block)

#define DORVALA_FLUID_MEMBER(name) decltype(&::name) name = nullptr;
    DORVALA_FLUID_FUNCTIONS(DORVALA_FLUID_MEMBER)
#undef DORVALA_FLUID_MEMBER
};

#endif
