#pragma once

#include <QtGlobal>

// TCP keep-alive with timers of our own on a connected socket: the first probe after `idle`
// seconds of silence, then one every `interval` seconds, and the connection is given up
// after `probes` unanswered ones. Windows before 10 version 1703 cannot change the count
// (it is always 10 there). false when the system refused the timers (the system's defaults,
// two hours of silence on both, stay).
//
// Data sent and never acknowledged (a move sent just as the cable was pulled) is given up
// after the same idle + interval * probes seconds: without that, the system retransmits it
// for a quarter of an hour before it tells anyone, and keep-alive probes wait for it.
bool setKeepAlive(qintptr descriptor, int idle, int interval, int probes);
