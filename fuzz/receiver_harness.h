#pragma once

#include "rules/match_side.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdint>

// Drives one side's match model the way a match screen does, from fuzzer bytes, and
// checks after every step what must hold whatever the peer sends.
//
// The input is a list of records, each starting with one byte:
//   0x00 .. 0xDF   a data arrival of that many bytes (fewer at the end of the input)
//   0xE0 .. 0xE8   a local click on point A1 .. C3
//   0xE9           a detection tick outside the usual schedule
//   0xEA           the local board cleared, as a restart does
//   0xEB           the next record arrives before the event loop turns again
//   0xEC .. 0xFF   a long arrival: 224 + the next byte, that many bytes
// The event loop turns after every record, so the win check a change schedules has run
// before the next arrival, as it does between two socket reads.
class ReceiverHarness
{
public:
    static void run(MatchSide side, const uint8_t *data, size_t size);
};
