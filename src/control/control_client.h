#pragma once

#include "control/control_event.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

// The far end of a control channel: one `dorvala --control` child process, its commands
// going in and its answers and events (ControlEvent) coming out, kept in order for later
// questions. Nothing here blocks: callers wait on the signals or re-check after activity().
class ControlClient : public QObject
{
    Q_OBJECT
public:
    explicit ControlClient(const QString &label, QObject *parent = nullptr);
    // A child still running is asked to quit, then ended.
    ~ControlClient() override;

    const QString &label() const { return m_label; }

    void start(const QString &program, const QStringList &arguments,
               const QProcessEnvironment &environment);
    void command(const QString &line);
    // No more commands; the program takes the end of its input as "quit".
    void closeInput();
    // Started (or starting) and not yet ended.
    bool isRunning() const;
    // The child's process id while it runs, else 0.
    qint64 processId() const { return m_process.processId(); }
    // After the process ended: its status, or -1 when it crashed or never started.
    int exitCode() const { return m_exitCode; }
    bool hasFinished() const { return m_finished; }
    // Ends it at once (when it does not answer any more).
    void kill();

    const QList<ControlEvent> &events() const { return m_events; }
    // The position after the latest event, to look only at what comes later.
    int mark() const { return int(m_events.size()); }
    // The first event of `kind` at or after `from` whose payload is `payload` (any payload
    // when it is null); -1 when none.
    int find(const QString &kind, const QString &payload = {}, int from = 0) const;
    bool seen(const QString &kind, const QString &payload = {}, int from = 0) const
    {
        return find(kind, payload, from) >= 0;
    }
    QStringList payloads(const QString &kind, int from = 0) const;

    // Answers to commands other than state, in order ("ok ...", "error ...").
    const QStringList &answers() const { return m_answers; }
    // The latest answer to "state", and how many have come.
    const QJsonObject &state() const { return m_state; }
    int stateCount() const { return m_stateCount; }

    // The child's standard error, last few kilobytes, for reports.
    QString errorTail() const { return QString::fromLocal8Bit(m_errors); }

signals:
    void eventArrived(const ControlEvent &event);
    void answered(const QString &line);
    // Something arrived or the process changed state: a good moment to check a condition.
    void activity();
    void finished(int exitCode);

private:
    void readOutput();
    void readErrors();
    void takeLine(const QString &line);

    QString m_label;
    QProcess m_process;
    QByteArray m_pending;
    QByteArray m_errors;
    QList<ControlEvent> m_events;
    QStringList m_answers;
    QJsonObject m_state;
    int m_stateCount = 0;
    int m_exitCode = -1;
    bool m_finished = false;
};
