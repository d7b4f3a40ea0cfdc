#pragma once

#include <QTemporaryDir>

// A match test's surroundings: a fresh drive-C folder and a free loopback port set as the
// match port, both through the environment the program reads. Restores nothing on purpose:
// each test process sets up its own.
class MatchEnv
{
public:
    MatchEnv();

    bool isValid() const { return m_driveC.isValid() && m_port != 0; }
    quint16 port() const { return m_port; }
    QString scoreFile() const;

    // A port nobody listens on right now (bound to 127.0.0.1 and released again).
    static quint16 freePort();

private:
    QTemporaryDir m_driveC;
    quint16 m_port = 0;
};
