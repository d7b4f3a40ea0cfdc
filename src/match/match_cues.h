#pragma once

#include "model/game_event.h"

#include <QObject>
#include <QString>
#include <QStringList>

class SoundCue;

// The seven sound cues of one match screen, children named WIN, MeC, MEX, MEI, Lose, mess
// and OL. They are bound to their wave files and opened once when the screen loads, stay
// open for the screen's life, and each sounds from its beginning when asked.
class MatchCues : public QObject
{
    Q_OBJECT

public:
    explicit MatchCues(QObject *parent = nullptr);

    // Binds every cue to the program folder joined with its file text, as written ("/WIN.wav"
    // after a folder that may end in a separator), then opens and rewinds each.
    void load(const QString &programFolder);
    // "prev" then "play" to the named cue; a name that is not a cue does nothing.
    void sound(const QString &name);
    SoundCue *cue(const QString &name) const;

    // WIN, MeC, MEX, MEI, Lose, mess, OL.
    static QStringList names();
    // The one place where a game event chooses its sound.
    static QString forEvent(GameEvent event);

private:
    QList<SoundCue *> m_cues;  // in names() order; children of this object
    bool m_muted = false;      // the player turned sound off: nothing opens or sounds
};
