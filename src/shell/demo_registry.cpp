#include "demo_registry.h"

#include "platform/settings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

namespace {

QString python()
{
    // Debian's interpreter carries python3-pyftpdlib; one earlier on PATH may not.
    const QString debian = QStringLiteral("/usr/bin/python3");
    return QFileInfo::exists(debian) ? debian : QStringLiteral("python3");
}

QString sourceFolderFromCache(const QString &buildFolder)
{
    QFile cache(buildFolder + QStringLiteral("/CMakeCache.txt"));
    if (!cache.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    while (!cache.atEnd()) {
        const QByteArray line = cache.readLine().trimmed();
        if (line.startsWith("CMAKE_HOME_DIRECTORY:"))
            return QString::fromLocal8Bit(line.mid(line.indexOf('=') + 1));
    }
    return {};
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
            fail(python() + QStringLiteral(": ") + m_process.errorString());
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

QString DemoRegistry::findScript(const QString &programFolder)
{
    const QDir program(programFolder);
    QStringList candidates{program.filePath(QStringLiteral("registry.py")),
                           program.filePath(QStringLiteral("../scripts/registry.py")),
                           program.filePath(QStringLiteral("../../scripts/registry.py"))};
    const QString source = sourceFolderFromCache(program.filePath(QStringLiteral("..")));
    if (!source.isEmpty())
        candidates << source + QStringLiteral("/scripts/registry.py");
    for (const QString &candidate : std::as_const(candidates)) {
        if (QFileInfo(candidate).isFile())
            return QFileInfo(candidate).canonicalFilePath();
    }
    return {};
}

void DemoRegistry::start(int timeoutMs)
{
    const QString script = findScript(Settings::programFolder());
    if (script.isEmpty()) {
        fail(QStringLiteral("scripts/registry.py was not found beside the program or in its "
                            "source tree"));
        return;
    }
    if (!m_root.isValid()) {
        fail(QStringLiteral("no temporary folder for the registry"));
        return;
    }
    m_timeout->start(timeoutMs);
    m_process.start(python(), {script, QStringLiteral("--host"), QStringLiteral("127.0.0.1"),
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

