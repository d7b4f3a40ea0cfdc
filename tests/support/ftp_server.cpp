#include "ftp_server.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>

FtpServer::FtpServer()
{
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
}

FtpServer::~FtpServer()
{
    stop();
}

QString FtpServer::python()
{
    // A python3 earlier on PATH (pyenv, venv) usually lacks Debian's python3-pyftpdlib.
    const QString debian = QStringLiteral("/usr/bin/python3");
    return QFileInfo::exists(debian) ? debian : QStringLiteral("python3");
}

QString FtpServer::script()
{
    return QStringLiteral(DORVALA_SOURCE_DIR "/scripts/registry.py");
}

bool FtpServer::start(int timeoutMs)
{
    stop();
    if (!m_root.isValid()) {
        m_error = QStringLiteral("no temporary folder");
        return false;
    }
    m_process.start(python(), {script(), QStringLiteral("--host"), QStringLiteral("127.0.0.1"),
                               QStringLiteral("--port"), QStringLiteral("0"),
                               QStringLiteral("--root"), m_root.path(),
                               QStringLiteral("--exit-with-parent")});
    if (!m_process.waitForStarted(timeoutMs)) {
        m_error = m_process.errorString();
        return false;
    }
    const QDeadlineTimer deadline(timeoutMs);
    QByteArray output;
    while (!deadline.hasExpired()) {
        if (m_process.canReadLine() || m_process.waitForReadyRead(int(deadline.remainingTime()))) {
            output += m_process.readLine();
            if (output.startsWith("READY ") && output.endsWith('\n')) {
                m_port = quint16(output.mid(6).trimmed().toUInt());
                if (m_port)
                    return true;
                break;
            }
        }
        if (m_process.state() != QProcess::Running)
            break;
    }
    m_error = QStringLiteral("registry did not start: %1 %2")
                  .arg(QString::fromLocal8Bit(output),
                       QString::fromLocal8Bit(m_process.readAllStandardError()));
    stop();
    return false;
}

void FtpServer::stop()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(5000)) {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
    m_port = 0;
}

QString FtpServer::url() const
{
    return QStringLiteral("ftp://dorvala@127.0.0.1:%1/").arg(m_port);
}

bool FtpServer::addEntries(const QStringList &names) const
{
    for (const QString &name : names) {
        QFile file(m_root.filePath(name));
        if (!file.open(QIODevice::WriteOnly))
            return false;
    }
    return true;
}

QStringList FtpServer::entries() const
{
    return QDir(m_root.path()).entryList(QDir::Files, QDir::Name);
}
