#pragma once

#include <QPixmap>
#include <QString>

// The picture store "IM": never shown, created on first use, alive until the program ends.
// Holds the piece pictures (N, O, X, O2, X2), the button faces (T1..T4), the two turn
// pictures (GIL1, GIL2) and the other decorations, all compiled into the program. Screen
// backgrounds are handed out freshly decoded each time and not kept.
class PictureStore
{
public:
    // The picture of that name; a null pixmap for a name the store does not hold.
    static QPixmap picture(const QString &name);
    static bool has(const QString &name);
    // Starts decoding one picture on a thread of its own, so that the first screen's largest
    // picture is ready by the time that screen asks for it: picture() then takes it, waiting
    // for the rest if need be. Call it once the application object exists (the decoders are
    // plugins found through it).
    static void decodeAhead(const QString &name);
};
