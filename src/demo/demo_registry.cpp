#include "demo_registry.h"

#include "platform/settings.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTimer>

namespace {

QString python()
{
    // Debian's interpreter carries python3-pyftpdlib; one earlier on PATH may not.
    const QString debian = QStringLiteral("/usr/bin/python3");
    return QFileInfo::exists(debian) ? debian : QStringLiteral("python3");
}

} // namespace

DemoRegistry::DemoRegistry(QObject *parent)
    : QObject(parent)
    , m_timeout(new QTimer(this))
{
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
    m_timeout->setSingleShot(true);
    connect(m_timeout, &QTimer::timeout, this,
            [this] { fail(QStringLiteral("the registry did not report that it listens")); });
    connect(&m_process, &QProcess::readyReadStandardOutput, this, &DemoRegistry::readOutput);
    connect(&m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            fail(m_process.program() + QStringLiteral(": ") + m_process.errorString());
    });
    connect(&m_process, &QProcess::finished, this, [this] {
        fail(QStringLiteral("the registry ended: ")
             + QString::fromLocal8Bit(m_process.readAllStandardError()).trimmed());
    });
}

DemoRegistry::~DemoRegistry()
{
    stop();
}

QStringList DemoRegistry::findCommand(const QString &programFolder)
{
    const QString configured = qEnvironmentVariable("DORVALA_REGISTRY").trimmed();
    if (!configured.isEmpty())
        return QProcess::splitCommand(configured);
    const QString installed = QStandardPaths::findExecutable(QStringLiteral("dorvala-registry"));
    if (!installed.isEmpty())
        return {installed};
    const QFileInfo beside(QDir(programFolder).filePath(QStringLiteral("registry.py")));
    if (beside.isFile())
        return {python(), beside.canonicalFilePath()};
    return {};
}

void DemoRegistry::start(int timeoutMs)
{
    QStringList command = findCommand(Settings::programFolder());
    if (command.isEmpty()) {
        fail(QStringLiteral("no registry: DORVALA_REGISTRY is not set, dorvala-registry is not "
                            "on PATH and registry.py is not beside the program"));
        return;
    }
    if (!m_root.isValid()) {
        fail(QStringLiteral("no temporary folder for the registry"));
        return;
    }
    m_timeout->start(timeoutMs);
    const QString program = command.takeFirst();
    m_process.start(program, command + QStringList{QStringLiteral("--host"), QStringLiteral("127.0.0.1"),
                                                   QStringLiteral("--port"), QStringLiteral("0"),
                                                   QStringLiteral("--root"), m_root.path(),
                                                   QStringLiteral("--exit-with-parent")});
}

void DemoRegistry::stop()
{
    m_timeout->stop();
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.disconnect(this);
    m_process.terminate();
    if (!m_process.waitForFinished(5000)) {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
}

QString DemoRegistry::url() const
{
    return QStringLiteral("ftp://dorvala@127.0.0.1:%1/").arg(m_port);
}

void DemoRegistry::readOutput()
{
    m_output += m_process.readAllStandardOutput();
    const qsizetype end = m_output.indexOf('\n');
    if (m_reported || end < 0)
        return;
    const QByteArray line = m_output.left(end).trimmed();
    if (!line.startsWith("READY ")) {
        fail(QStringLiteral("unexpected registry output: ") + QString::fromLocal8Bit(line));
        return;
    }
    m_port = quint16(line.mid(6).toUInt());
    if (m_port == 0) {
        fail(QStringLiteral("the registry reported no port"));
        return;
    }
    m_reported = true;
    m_timeout->stop();
    emit ready(url());
}

void DemoRegistry::fail(const QString &reason)
{
    if (m_reported)
        return;
    m_reported = true;
    m_timeout->stop();
    emit failed(reason);
}

