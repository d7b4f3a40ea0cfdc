#pragma once

#include "control/control_event.h"

#include <QList>
#include <QString>
#include <QStringList>

// What crossed the wire in a match, told from the two players' own reports: every message
// one side sent, in time order, with how long it took to arrive on the other side and, for
// a move, to be drawn there. A message that never arrived on its own (two glued into one
// read) says so.
class DemoTranscript
{
public:
    struct Side
    {
        QString name;
        QList<ControlEvent> events;
    };

    static QStringList lines(const Side &first, const Side &second);
};
