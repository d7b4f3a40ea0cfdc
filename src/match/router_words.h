#pragma once

#include <QString>

class PortMapper;

// What the host screen tells the player about the home router, in plain words: where the
// host is open to the internet, or why nobody from outside can join. Never a bare code.
// `standardMatchPort` is the port a joiner need not type.
QString routerSentence(const PortMapper &mapper, quint16 standardMatchPort);
