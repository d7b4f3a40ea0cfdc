#pragma once

#include <QObject>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

class QTimer;

// A registry of its own for the demo when none is configured: the registry script on a free
// loopback port with a temporary root. Ends with this object.
class DemoRegistry : public QObject
{
    Q_OBJECT
public:
    explicit DemoRegistry(QObject *parent = nullptr);
    ~DemoRegistry() override;

    // The command that starts the registry, or empty when there is none: the command line
    // in DORVALA_REGISTRY, else `dorvala-registry` on PATH (as the package installs it),
    // else registry.py beside the program (as the build and the installed folder have it).
    static QStringList findCommand(const QString &programFolder);

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
