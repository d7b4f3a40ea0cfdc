#pragma once

#include "rules/match_side.h"
#include "wire/wire_effect.h"

#include <QList>
#include <QString>

// What one received message means to the host or to the joiner. Every test is made on its
// own, in a fixed order, so a message could in principle trigger several effects; the
// message forms are chosen so that a conforming peer never triggers two.
class WireReceiver
{
public:
    static QList<WireEffect> effects(MatchSide side, const QString &message);
};
