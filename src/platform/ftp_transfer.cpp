#include "ftp_transfer.h"

#include "ftp_session.h"
#include "ftp_transfer_driver.h"
#include "settings.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QPointer>
#include <QTimer>
#include <QUrl>

namespace {

bool hasLineBreak(const QString &name)
{
    return name.contains(u'\r') || name.contains(u'\n');
}

// "PUT <local> <remote>" where either name may hold blanks (an entry named "[Nomor IP]" is
// put as "PUT C:/[Nomor IP] [Nomor IP]"): the split whose local file name equals the
// remote name wins, else the first blank.
bool splitPut(const QString &arguments, QString *local, QString *remote)
{
    qsizetype first = -1;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (arguments.at(i) != u' ')
            continue;
        const QString left = arguments.left(i);
        const QString right = arguments.mid(i + 1);
        if (left.isEmpty() || right.isEmpty())
            continue;
        if (first < 0)
            first = i;
        const qsizetype slash = qMax(left.lastIndexOf(u'/'), left.lastIndexOf(u'\\'));
        if (left.mid(slash + 1) == right) {
            *local = left;
            *remote = right;
            return true;
        }
    }
    if (first < 0)
        return false;
    *local = arguments.left(first);
    *remote = arguments.mid(first + 1);
    return true;
}

} // namespace

FtpTransfer::FtpTransfer(QObject *parent)
    : QObject(parent)
{
}

FtpTransfer::~FtpTransfer()
{
    if (m_job) {
        if (FtpTransferDriver *driver = FtpTransferDriver::existing())
            driver->release(m_job);
    }
}

void FtpTransfer::setAccessType(int accessType)
{
    m_accessType = accessType;
}

void FtpTransfer::setRequestTimeout(int seconds)
{
    m_requestTimeout = qMax(0, seconds);
}

void FtpTransfer::setProtocol(int protocol)
{
    m_protocol = protocol;
}

void FtpTransfer::setUrl(const QString &url)
{
    m_url = url;
    const QUrl parsed(url);
    if (!parsed.userName().isEmpty())
        m_userName = parsed.userName();
}

void FtpTransfer::setUserName(const QString &userName)
{
    m_userName = userName;
}

void FtpTransfer::setPassword(const QString &password)
{
    m_password = password;
}

bool FtpTransfer::Execute(const QString &command)
{
    if (m_executing) {
        fail(StillExecutingLastRequest, QStringLiteral("Still executing last request"));
        return false;
    }

    const QUrl folder(m_url, QUrl::StrictMode);
    if (!folder.isValid() || folder.scheme().compare(u"ftp", Qt::CaseInsensitive) != 0
        || folder.host().isEmpty() || hasLineBreak(folder.path(QUrl::FullyDecoded))
        || hasLineBreak(m_userName) || hasLineBreak(m_password)) {
        fail(UrlMalformed, QStringLiteral("URL is malformed: %1").arg(m_url));
        return false;
    }

    // Only the blank after the verb separates; names keep any blanks of their own.
    qsizetype begin = 0;
    while (begin < command.size() && command.at(begin).isSpace())
        ++begin;
    const qsizetype blank = command.indexOf(u' ', begin);
    const QString verb = command.mid(begin, blank < 0 ? -1 : blank - begin).toUpper();
    const QString arguments = blank < 0 ? QString() : command.mid(blank + 1);

    FtpRequest request;
    bool understood = false;
    if (verb == u"DIR" && arguments.trimmed().isEmpty()) {
        request.kind = FtpRequest::Kind::List;
        understood = true;
    } else if (verb == u"PUT") {
        QString local;
        QString remote;
        if (splitPut(arguments, &local, &remote) && !hasLineBreak(remote)) {
            request.kind = FtpRequest::Kind::Put;
            request.localFile = Settings::cFile(local);
            request.fileName = remote.toUtf8();
            understood = true;
        }
    } else if (verb == u"DELETE" && !arguments.isEmpty() && !hasLineBreak(arguments)) {
        request.kind = FtpRequest::Kind::Delete;
        request.fileName = arguments.toUtf8();
        understood = true;
    }
    if (!understood) {
        fail(UnsupportedCommand, QStringLiteral("Command not supported: %1").arg(command));
        return false;
    }

    request.host = folder.host();
    request.port = quint16(folder.port(21));
    request.folder = folder.path(QUrl::FullyDecoded).split(u'/', Qt::SkipEmptyParts);
    request.userName = (m_userName.isEmpty() ? QStringLiteral("anonymous") : m_userName).toUtf8();
    request.password = m_password.toUtf8();
    request.direct = m_accessType == 1;
    request.requestTimeoutSeconds = m_requestTimeout;

    FtpTransferDriver *driver = FtpTransferDriver::instance();
    int error = ServerError;
    QString errorText = QStringLiteral("No event loop for the transfer");
    const quint64 job = driver ? driver->start(this, request, &error, &errorText) : 0;
    if (!job) {
        fail(error, errorText);
        return false;
    }
    m_job = job;
    m_executing = true;
    m_state = None;
    m_lastError = NoError;
    m_lastErrorText.clear();
    m_response.clear();
    m_responsePos = 0;
    return true;
}

QString FtpTransfer::GetChunk(int maxChars)
{
    if (maxChars <= 0 || m_responsePos >= m_response.size())
        return {};
    const QString chunk = m_response.mid(m_responsePos, maxChars);
    m_responsePos += chunk.size();
    return chunk;
}

void FtpTransfer::Cancel()
{
    if (m_job) {
        if (FtpTransferDriver *driver = FtpTransferDriver::existing())
            driver->cancel(m_job);
    }
    m_job = 0;
    m_executing = false;
    m_state = None;
    m_response.clear();
    m_responsePos = 0;
}

bool FtpTransfer::waitForPending(int ms)
{
    const QDeadlineTimer deadline(qMax(0, ms));
    const QPointer<FtpTransferDriver> driver = FtpTransferDriver::existing();
    const int unreachable = driver ? driver->unreachableWrites() : 0;
    while (driver && !driver->idle()) {
        // A registry out of reach would only let the next write wait out its connect
        // time-out as well (a withdrawal waiting for its upload).
        if (deadline.hasExpired() || driver->unreachableWrites() != unreachable)
            return false;
        // The reports of finished transfers are delivered too: one of them may start the
        // next write (a delete that waited for its entry's upload).
        QEventLoop loop;
        QTimer timeout;
        timeout.setSingleShot(true);
        connect(&timeout, &QTimer::timeout, &loop, &QEventLoop::quit);
        connect(driver, &FtpTransferDriver::writesFinished, &loop, &QEventLoop::quit);
        timeout.start(int(qMin<qint64>(deadline.remainingTime(), 50)));
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    }
    return true;
}

void FtpTransfer::report(quint64 job, int state, int error, const QString &errorText,
                         const QByteArray &response)
{
    if (job != m_job)
        return;  // a cancelled or replaced request
    m_state = state;
    if (state == Error || state == ResponseCompleted) {
        m_job = 0;
        m_executing = false;
        m_lastError = error;
        m_lastErrorText = errorText;
        m_response = QString::fromUtf8(response);
        m_responsePos = 0;
    }
    emit StateChanged(state);
}

void FtpTransfer::fail(int error, const QString &text)
{
    m_lastError = error;
    m_lastErrorText = text;
}
