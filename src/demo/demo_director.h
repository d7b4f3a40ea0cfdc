#pragma once

#include "demo/demo_step.h"

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>

#include <memory>

class ControlClient;
class DemoRegistry;
class DemoScript;
class QTimer;

// `dorvala --demo DIR`: this process directs a whole match between two copies of itself,
// a host and a joiner under remote control (ControlChannel), on loopback with free ports
// and private drive-C folders. It uses the registry of DORVALA_FTP_URL when one is set,
// else starts a registry of its own (DemoRegistry says which), else skips the lobby step and opens the match screens
// directly. It plays DemoScript, saves screenshots of both screens into DIR, prints what
// crossed the wire, and ends with done(0) when both screens agreed on every verdict and
// total (and the score files and the registry say the same afterwards), else done(1)
// after printing the reason.
//
// The players share this process's display platform: offscreen when it is offscreen, on
// the desktop (side by side) when it is not.
class DemoDirector : public QObject
{
    Q_OBJECT
public:
    explicit DemoDirector(const QString &folder, QObject *parent = nullptr);
    ~DemoDirector() override;

    // Begins from the event loop.
    void start();

signals:
    void done(int status);

private:
    void prepare();
    void useRegistry(const QString &url, const QString &where);
    void skipLobby(const QString &reason);
    void begin();
    QProcessEnvironment playerEnvironment(const QString &drive, quint16 probePort) const;
    QList<DemoStep> startSteps();

    void advance();
    void check();
    bool passes(const DemoStep &step);
    void timedOut();
    void finish(const QString &failure);
    void playerEnded(ControlClient *player);
    void conclude();
    QString afterwards() const;
    void say(const QString &line) const;

    QString m_folder;
    QTemporaryDir m_work;
    DemoRegistry *m_registry = nullptr;
    QString m_ftpUrl;
    bool m_lobby = true;
    quint16 m_matchPort = 0;
    ControlClient *m_host = nullptr;
    ControlClient *m_join = nullptr;
    std::unique_ptr<DemoScript> m_script;

    QList<DemoStep> m_steps;
    int m_index = -1;
    bool m_waiting = false;
    QTimer *m_stepTimer;
    QTimer *m_pollTimer;
    QTimer *m_endTimer;
    QElapsedTimer m_clock;
    bool m_finishing = false;
    bool m_concluded = false;
    QString m_failure;
};
