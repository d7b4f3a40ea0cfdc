#include "match_env.h"

#include <QHostAddress>
#include <QTcpServer>

MatchEnv::MatchEnv()
    : m_port(freePort())
{
    qputenv("DORVALA_DRIVE_C", m_driveC.path().toLocal8Bit());
    qputenv("DORVALA_MATCH_PORT", QByteArray::number(m_port));
    qputenv("DORVALA_LOCAL_IP", "127.0.0.1");
}

QString MatchEnv::scoreFile() const
{
    return m_driveC.path() + QStringLiteral("/dvq");
}

quint16 MatchEnv::freePort()
{
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost, 0))
        return 0;
    return probe.serverPort();
}
