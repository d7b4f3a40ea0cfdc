#pragma once

#include <QtGlobal>

// TCP keep-alive with timers of our own on a connected socket: the first probe after `idle`
// seconds of silence, then one every `interval` seconds, and the connection is given up
// after `probes` unanswered ones. Windows before 10 version 1703 cannot change the count
// (it is always 10 there). false when the system refused the timers (the system's defaults,
// two hours of silence on both, stay).
bool setKeepAlive(qintptr descriptor, int idle, int interval, int probes);
