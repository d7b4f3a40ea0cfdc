#include "black_hole_server.h"

#include <QTcpSocket>

BlackHoleServer::BlackHoleServer(QObject *parent)
    : QTcpServer(parent)
{
    // Accepted sockets stay open, children of the server, until it goes.
    connect(this, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = nextPendingConnection())
            socket->setParent(this);
    });
}

bool BlackHoleServer::start()
{
    return listen(QHostAddress::LocalHost, 0);
}

QString BlackHoleServer::url() const
{
    return QStringLiteral("ftp://dorvala@127.0.0.1:%1/").arg(serverPort());
}
