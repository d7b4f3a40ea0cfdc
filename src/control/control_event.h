#pragma once

#include <QString>
#include <QStringView>

#include <optional>

// One line that a program under remote control reports on its standard output when
// something happens: "<kind> <payload> <t>", where t is the CLOCK_MONOTONIC time in
// nanoseconds (comparable between processes on one machine) and the payload is everything
// between the first and the last space, possibly empty, never holding a line break.
//
// Kinds: screen, gone (a match screen opened / went), drawn ("<cell> <state>", "-" for an
// empty point), sent and received (a wire message, escaped), verdict (the caption over the
// board), cue (a sound cue's name), box (a message box's title and text), status (a match
// screen's status line, e.g. what the home router said).
struct ControlEvent
{
    QString kind;
    QString payload;
    qint64 t = 0;

    QString format() const;
    // Nothing for a line that is not an event (the answers to commands, for instance).
    static std::optional<ControlEvent> parse(QStringView line);

    // Backslash, control characters and line breaks escaped C-style; longer texts are cut
    // at `limit` characters and marked with "...".
    static QString escape(QStringView text, int limit = 200);
    static QString unescape(QStringView text);

    // Nanoseconds of the monotonic clock.
    static qint64 now();
};
