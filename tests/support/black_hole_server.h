#pragma once

#include <QTcpServer>

// Accepts connections on 127.0.0.1 and never says a word: a server that connects but does
// not answer.
class BlackHoleServer : public QTcpServer
{
    Q_OBJECT

public:
    explicit BlackHoleServer(QObject *parent = nullptr);
    bool start();  // a free port on 127.0.0.1
    QString url() const;  // ftp://dorvala@127.0.0.1:<port>/
};
