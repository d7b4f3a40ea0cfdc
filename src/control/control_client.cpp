#include "control_client.h"

#include <QJsonDocument>

namespace {
constexpr qsizetype ErrorTailSize = 8 * 1024;
}

ControlClient::ControlClient(const QString &label, QObject *parent)
    : QObject(parent)
    , m_label(label)
{
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
    connect(&m_process, &QProcess::readyReadStandardOutput, this, &ControlClient::readOutput);
    connect(&m_process, &QProcess::readyReadStandardError, this, &ControlClient::readErrors);
    connect(&m_process, &QProcess::finished, this, [this](int code, QProcess::ExitStatus status) {
        readOutput();
        m_exitCode = status == QProcess::NormalExit ? code : -1;
        m_finished = true;
        emit finished(m_exitCode);
        emit activity();
    });
    connect(&m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        m_errors += m_process.errorString().toLocal8Bit();
        m_finished = true;
        emit finished(m_exitCode);
        emit activity();
    });
}

ControlClient::~ControlClient()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.disconnect(this);
    // Its standard input closing is its cue to close its screens and end.
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(5000)) {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
}

void ControlClient::start(const QString &program, const QStringList &arguments,
                          const QProcessEnvironment &environment)
{
    m_process.setProcessEnvironment(environment);
    m_process.start(program, arguments);
}

void ControlClient::command(const QString &line)
{
    if (m_process.state() != QProcess::NotRunning)
        m_process.write(line.toUtf8() + '\n');
}

void ControlClient::closeInput()
{
    if (m_process.state() != QProcess::NotRunning)
        m_process.closeWriteChannel();
}

bool ControlClient::isRunning() const
{
    return m_process.state() != QProcess::NotRunning;
}

void ControlClient::kill()
{
    if (m_process.state() != QProcess::NotRunning)
        m_process.kill();
}

int ControlClient::find(const QString &kind, const QString &payload, int from) const
{
    for (int i = qMax(0, from); i < m_events.size(); ++i) {
        const ControlEvent &event = m_events[i];
        if (event.kind == kind && (payload.isNull() || event.payload == payload))
            return i;
    }
    return -1;
}

QStringList ControlClient::payloads(const QString &kind, int from) const
{
    QStringList found;
    for (int i = qMax(0, from); i < m_events.size(); ++i) {
        if (m_events[i].kind == kind)
            found << m_events[i].payload;
    }
    return found;
}

void ControlClient::readOutput()
{
    m_pending += m_process.readAllStandardOutput();
    qsizetype end;
    while ((end = m_pending.indexOf('\n')) >= 0) {
        const QString line = QString::fromUtf8(m_pending.left(end));
        m_pending.remove(0, end + 1);
        takeLine(line);
    }
}

void ControlClient::readErrors()
{
    m_errors += m_process.readAllStandardError();
    if (m_errors.size() > ErrorTailSize)
        m_errors = m_errors.right(ErrorTailSize);
}

void ControlClient::takeLine(const QString &line)
{
    if (const std::optional<ControlEvent> event = ControlEvent::parse(line)) {
        m_events.append(*event);
        emit eventArrived(*event);
    } else if (line.startsWith(QLatin1String("state "))) {
        m_state = QJsonDocument::fromJson(line.mid(6).toUtf8()).object();
        ++m_stateCount;
        emit answered(line);
    } else {
        m_answers.append(line);
        emit answered(line);
    }
    emit activity();
}
