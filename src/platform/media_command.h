#pragma once

#include <QString>

// What the sound cues and the tune player share: both are driven like a multimedia
// control, by case-insensitive command strings, and both bind to a file named the way
// program paths are written.
namespace MediaCommand {

enum class Verb { Open, Prev, Play, Close, Unknown };

// The verb `command` names ("open", "prev", "play", "close", any case, spaces around);
// Unknown for anything else, which a control ignores as the device would refuse it.
Verb verb(const QString &command);

// The absolute path of the readable file that `fileName` resolves to
// (SoundCue::resolvePath); empty when there is none, which leaves a control closed.
QString playableFile(const QString &fileName);

} // namespace MediaCommand
