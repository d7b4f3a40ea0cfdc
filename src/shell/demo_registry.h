#pragma once

#include <QObject>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

class QTimer;

// A registry of its own for the demo when none is configured: scripts/registry.py on a free
// loopback port with a temporary root, found beside the program or in the source tree the
// program was built from. Ends with this object.
class DemoRegistry : public QObject
{
    Q_OBJECT
public:
    explicit DemoRegistry(QObject *parent = nullptr);
    ~DemoRegistry() override;

    // Where the script is, or empty. Looks beside the program, then up to two folders up
    // under scripts/, then in the source folder named by the build's CMakeCache.txt.
    static QString findScript(const QString &programFolder);

    // Starts it; the outcome comes as ready() or failed().
    void start(int timeoutMs = 20000);
    void stop();

    QString url() const;
    // The folder that holds one file per registry entry.
    QString root() const { return m_root.path(); }

signals:
    void ready(const QString &url);
    void failed(const QString &reason);

private:
    void readOutput();
    void fail(const QString &reason);

    QTemporaryDir m_root;
    QProcess m_process;
    QTimer *m_timeout;
    QByteArray m_output;
    quint16 m_port = 0;
    bool m_reported = false;
};
