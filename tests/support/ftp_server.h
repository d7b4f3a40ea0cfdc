#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

// A real registry for tests: scripts/registry.py (pyftpdlib) on 127.0.0.1, a free port and
// a temporary root folder. The account and password are the program's own.
class FtpServer
{
public:
    FtpServer() = default;
    ~FtpServer();
    FtpServer(const FtpServer &) = delete;
    FtpServer &operator=(const FtpServer &) = delete;

    // Starts the server and waits until it listens; false (see error()) if it does not.
    bool start(int timeoutMs = 20000);
    void stop();

    // For DORVALA_FTP_URL: ftp://dorvala@127.0.0.1:<port>/
    QString url() const;
    // The folder the account sees: one file per registry entry.
    QString root() const { return m_root.path(); }
    QString error() const { return m_error; }

    // Creates entries directly in the root folder, bypassing FTP.
    bool addEntries(const QStringList &names) const;
    QStringList entries() const;

private:
    QTemporaryDir m_root;
    QProcess m_process;
    quint16 m_port = 0;
    QString m_error;
};
