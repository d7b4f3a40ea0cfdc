#include "ftp_server.h"
#include "match_env.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHostAddress>
#include <QTcpSocket>
#include <QThread>

#ifdef Q_OS_WIN
#include <windows.h>

namespace {

// Under Wine the registry is a Linux process (Debian's python3 started through Wine): it
// needs a folder's Linux name, and what it writes on standard output does not come back
// through QProcess's pipes there, so it gets a free port and is ready once that answers.
QString linuxPath(const QString &path)
{
    using Convert = char *(CDECL *)(const wchar_t *);
    const auto convert = reinterpret_cast<Convert>(reinterpret_cast<void *>(
        GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
    if (!convert)
        return path;
    char *name = convert(reinterpret_cast<const wchar_t *>(QDir::toNativeSeparators(path).utf16()));
    if (!name)
        return path;
    const QString converted = QString::fromLocal8Bit(name);
    HeapFree(GetProcessHeap(), 0, name);
    return converted;
}

} // namespace
#endif

namespace {

// A python3 earlier on PATH (pyenv, venv) usually lacks Debian's python3-pyftpdlib.
QString python()
{
    const QString debian = QStringLiteral("/usr/bin/python3");
    return QFileInfo::exists(debian) ? debian : QStringLiteral("python3");
}

} // namespace

FtpServer::~FtpServer()
{
    stop();
}

bool FtpServer::start(int timeoutMs)
{
    stop();
#ifdef Q_OS_WIN
    const quint16 port = MatchEnv::freePort();
    const QString root = linuxPath(m_root.path());
#else
    const quint16 port = 0;  // the server's choice, which it reports
    const QString root = m_root.path();
#endif
    m_process.start(python(), {QStringLiteral(DORVALA_SOURCE_DIR "/scripts/registry.py"),
                               QStringLiteral("--host"), QStringLiteral("127.0.0.1"),
                               QStringLiteral("--port"), QString::number(port),
                               QStringLiteral("--root"), root, QStringLiteral("--exit-with-parent")});
    const QDeadlineTimer deadline(timeoutMs);
    QByteArray output;
    while (m_root.isValid() && m_process.waitForStarted(timeoutMs) && !deadline.hasExpired()) {
#ifdef Q_OS_WIN
        QTcpSocket probe;
        probe.connectToHost(QHostAddress::LocalHost, port);
        if (probe.waitForConnected(500)) {
            m_port = port;
            return true;
        }
        QThread::msleep(100);
#else
        if (m_process.canReadLine() || m_process.waitForReadyRead(int(deadline.remainingTime()))) {
            output += m_process.readLine();
            if (output.startsWith("READY ") && output.endsWith('\n')) {
                m_port = quint16(output.mid(6).trimmed().toUInt());
                if (m_port)
                    return true;
                break;
            }
        }
#endif
    }
    m_error = QStringLiteral("registry did not start: %1 %2 %3")
                  .arg(m_process.errorString(), QString::fromLocal8Bit(output),
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
    QStringList names = QDir(m_root.path()).entryList(QDir::Files);
    names.sort();
    return names;
}
