#include "ftp_session.h"

#include "ftp_transfer.h"

#include <QNetworkProxy>
#include <QTcpSocket>

#include <algorithm>

namespace {

// A hostile or broken server must not be able to fill the memory with one "listing" or one
// endless reply line.
// 8 MB are some 470,000 addresses.
constexpr qsizetype MaxListingBytes = 8 * 1024 * 1024;
constexpr qsizetype MaxReplyLineBytes = 64 * 1024;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// "229 Entering Extended Passive Mode (|||6446|)": the port between the fourth and fifth
// delimiters.
quint16 extendedPassivePort(const QByteArray &text)
{
    const qsizetype open = text.indexOf('(');
    const qsizetype close = text.indexOf(')', open + 1);
    if (open < 0 || close < open + 2)
        return 0;
    const QByteArray inside = text.mid(open + 1, close - open - 1);
    const QList<QByteArray> parts = inside.split(inside.at(0));
    if (parts.size() != 5)
        return 0;
    bool ok = false;
    const quint16 port = parts.at(3).toUShort(&ok);
    return ok ? port : 0;
}

// "227 Entering Passive Mode (h1,h2,h3,h4,p1,p2)": the first six numbers of one to three
// digits joined by commas, wherever they stand (some servers leave out the brackets). The
// address is not used: the data connection goes to the control connection's peer, so a
// server cannot point it elsewhere. Read by hand: a regular expression would bring the
// expression compiler into every player's memory for this one line.
quint16 passivePort(const QByteArray &text)
{
    // One pass: a run of numbers, each followed by a comma but the last, counts up to six; any
    // other character, or a number of more than three digits, starts the run again.
    int numbers[6];
    int count = 0;
    qsizetype at = 0;
    while (at < text.size()) {
        qsizetype end = at;
        while (end < text.size() && text.at(end) >= '0' && text.at(end) <= '9')
            ++end;
        const qsizetype digits = end - at;
        if (digits == 0 || digits > 3) {
            count = 0;
            at = std::max(end, at + 1);
            continue;
        }
        numbers[count++] = text.mid(at, digits).toInt();
        if (count == 6)
            return numbers[4] > 255 || numbers[5] > 255 ? 0 : quint16(numbers[4] * 256 + numbers[5]);
        if (end >= text.size() || text.at(end) != ',')
            count = 0;
        at = end + 1;
    }
    return 0;
}

QString serverSaid(int code, const QByteArray &text)
{
    return QStringLiteral("%1 %2").arg(code).arg(QString::fromUtf8(text).trimmed());
}

} // namespace

FtpSession::FtpSession(const FtpRequest &request, QObject *parent)
    : QObject(parent)
    , m_request(request)
    , m_control(new QTcpSocket(this))
{
    if (m_request.direct)
        m_control->setProxy(QNetworkProxy::NoProxy);
    connect(m_control, &QTcpSocket::connected, this, &FtpSession::onControlConnected);
    connect(m_control, &QTcpSocket::readyRead, this, &FtpSession::onControlReadable);
    connect(m_control, &QTcpSocket::errorOccurred, this, &FtpSession::onControlError);
    m_silence.setSingleShot(true);
    connect(&m_silence, &QTimer::timeout, this, &FtpSession::onSilence);
}

FtpSession::~FtpSession()
{
    abort();
}

bool FtpSession::openLocalFile(QString *errorText)
{
    m_upload.setFileName(m_request.localFile);
    if (m_upload.open(QIODevice::ReadOnly))
        return true;
    *errorText = QStringLiteral("Path/File access error: %1").arg(m_request.localFile);
    return false;
}

void FtpSession::start()
{
    touch();
    QTimer::singleShot(FtpTransfer::ConnectTimeoutMs, this, [this] {
        if (!m_connected)
            fail(FtpTransfer::UnableToConnect,
                 QStringLiteral("Unable to connect to remote host: no connection within %1 s")
                     .arg(FtpTransfer::ConnectTimeoutMs / 1000));
    });
    m_control->connectToHost(m_request.host, m_request.port);
}

void FtpSession::abort()
{
    m_ended = true;
    m_silence.stop();
    for (QTcpSocket *socket : {m_control, m_data}) {
        if (socket) {
            socket->disconnect(this);
            socket->abort();
        }
    }
}

QByteArray FtpSession::namesWithCrLf(const QByteArray &received)
{
    QByteArray names;
    names.reserve(received.size() + received.count('\n') + 2);
    qsizetype start = 0;
    while (start < received.size()) {
        qsizetype end = received.indexOf('\n', start);
        if (end < 0)
            end = received.size();
        qsizetype stop = end;
        if (stop > start && received.at(stop - 1) == '\r')
            --stop;
        const QByteArrayView name(received.constData() + start, stop - start);
        start = end + 1;
        // Some servers (Pure-FTPd) list the folder itself and its parent; neither is a file.
        if (name == "." || name == "..")
            continue;
        names.append(name).append("\r\n");
    }
    return names;
}

void FtpSession::onControlConnected()
{
    m_connected = true;
    touch();
    emit connected();
}

void FtpSession::onControlReadable()
{
    m_controlBuffer += m_control->readAll();
    touch();
    qsizetype newline;
    while (!m_ended && (newline = m_controlBuffer.indexOf('\n')) >= 0) {
        QByteArray line = m_controlBuffer.left(newline);
        m_controlBuffer.remove(0, newline + 1);
        if (line.endsWith('\r'))
            line.chop(1);
        const bool coded = line.size() >= 3 && isDigit(line[0]) && isDigit(line[1])
                           && isDigit(line[2]) && (line.size() == 3 || line[3] == ' '
                                                   || line[3] == '-');
        const int code = coded ? line.left(3).toInt() : 0;
        if (m_multiLineCode) {
            // Inside "123-..." only "123 ..." ends the reply; other lines are its text.
            if (code == m_multiLineCode && (line.size() == 3 || line[3] == ' ')) {
                m_multiLineCode = 0;
                reply(code, line.mid(4));
            }
            continue;
        }
        if (!coded) {
            fail(FtpTransfer::ServerError,
                 QStringLiteral("Unexpected reply from the server: %1")
                     .arg(QString::fromUtf8(line.left(80))));
            return;
        }
        if (line.size() > 3 && line[3] == '-')
            m_multiLineCode = code;
        else
            reply(code, line.mid(4));
    }
    if (!m_ended && m_controlBuffer.size() > MaxReplyLineBytes)
        fail(FtpTransfer::ServerError, QStringLiteral("The server's reply is too long"));
}

void FtpSession::onControlError()
{
    if (m_ended)
        return;
    if (!m_connected)
        fail(FtpTransfer::UnableToConnect,
             QStringLiteral("Unable to connect to remote host: %1").arg(m_control->errorString()));
    else
        fail(FtpTransfer::ServerError,
             QStringLiteral("Connection to the server lost: %1").arg(m_control->errorString()));
}

void FtpSession::reply(int code, const QByteArray &text)
{
    const bool positive = code >= 200 && code < 300;
    switch (m_step) {
    case Step::Greeting:
        if (code < 200)
            return;  // "120 ready in a moment"
        if (!positive)
            return fail(FtpTransfer::ServerError, serverSaid(code, text));
        m_step = Step::User;
        return send("USER " + m_request.userName);
    case Step::User:
        if (code == 230)
            return afterLogin();
        if (code == 331 || code == 332) {
            m_step = Step::Pass;
            return send("PASS " + m_request.password);
        }
        break;
    case Step::Pass:
        if (code == 230 || code == 202)
            return afterLogin();
        break;
    case Step::Type:
    case Step::Cwd:
        if (positive)
            return nextFolder();
        return fail(FtpTransfer::ServerError, serverSaid(code, text));
    case Step::Epsv:
        if (code == 229)
            return openData(extendedPassivePort(text));
        if (code >= 500) {
            m_step = Step::Pasv;
            return send("PASV");
        }
        return fail(FtpTransfer::ServerError, serverSaid(code, text));
    case Step::Pasv:
        if (code == 227)
            return openData(passivePort(text));
        return fail(FtpTransfer::ServerError, serverSaid(code, text));
    case Step::Transfer:
        if (m_request.kind == FtpRequest::Kind::Delete) {
            if (positive)
                return complete({});
        } else if (code < 200) {
            m_goAhead = true;
            return sendUpload();
        } else if (positive) {
            m_finalReply = true;
            return maybeComplete();
        }
        return fail(FtpTransfer::ServerError, serverSaid(code, text));
    }
    // USER or PASS not accepted.
    fail(code == 530 ? FtpTransfer::LoginRefused : FtpTransfer::ServerError,
         serverSaid(code, text));
}

void FtpSession::afterLogin()
{
    if (m_request.kind == FtpRequest::Kind::Delete)
        return nextFolder();
    m_step = Step::Type;
    send(m_request.kind == FtpRequest::Kind::Put ? "TYPE I" : "TYPE A");
}

void FtpSession::nextFolder()
{
    if (m_folderIndex < m_request.folder.size()) {
        m_step = Step::Cwd;
        send("CWD " + m_request.folder.at(m_folderIndex++).toUtf8());
    } else if (m_request.kind == FtpRequest::Kind::Delete) {
        m_step = Step::Transfer;
        send("DELE " + m_request.fileName);
    } else {
        m_step = Step::Epsv;
        send("EPSV");
    }
}

void FtpSession::openData(quint16 port)
{
    if (port == 0)
        return fail(FtpTransfer::ServerError,
                    QStringLiteral("The server's passive-mode reply names no port"));
    m_data = new QTcpSocket(this);
    m_data->setProxy(m_control->proxy());
    connect(m_data, &QTcpSocket::connected, this, &FtpSession::onDataConnected);
    connect(m_data, &QTcpSocket::readyRead, this, &FtpSession::onDataReadable);
    connect(m_data, &QTcpSocket::bytesWritten, this, &FtpSession::onDataWritten);
    connect(m_data, &QTcpSocket::disconnected, this, &FtpSession::onDataClosed);
    connect(m_data, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError error) {
        if (error != QAbstractSocket::RemoteHostClosedError)
            fail(FtpTransfer::ServerError,
                 QStringLiteral("Data connection failed: %1").arg(m_data->errorString()));
    });
    m_data->connectToHost(m_control->peerAddress(), port);
    m_step = Step::Transfer;
    send(m_request.kind == FtpRequest::Kind::List ? QByteArray("NLST")
                                                   : "STOR " + m_request.fileName);
}

void FtpSession::onDataConnected()
{
    touch();
    sendUpload();
}

void FtpSession::onDataReadable()
{
    touch();
    const QByteArray bytes = m_data->readAll();
    if (m_request.kind != FtpRequest::Kind::List)
        return;
    if (m_received.size() + bytes.size() > MaxListingBytes)
        return fail(FtpTransfer::ServerError, QStringLiteral("The listing is too large"));
    m_received += bytes;
}

void FtpSession::onDataWritten()
{
    touch();
}

void FtpSession::onDataClosed()
{
    if (m_ended)
        return;
    if (m_request.kind == FtpRequest::Kind::List && m_data->bytesAvailable() > 0)
        onDataReadable();
    m_dataDone = true;
    maybeComplete();
}

void FtpSession::sendUpload()
{
    if (m_request.kind != FtpRequest::Kind::Put || !m_goAhead || m_uploadSent || !m_data
        || m_data->state() != QAbstractSocket::ConnectedState)
        return;
    m_uploadSent = true;
    // The files put are a few bytes (an address); reading them whole keeps this simple.
    const QByteArray bytes = m_upload.readAll();
    if (m_upload.error() != QFileDevice::NoError)
        return fail(FtpTransfer::FileAccessError,
                    QStringLiteral("Path/File access error: %1").arg(m_upload.errorString()));
    m_data->write(bytes);
    // Closes once everything written has gone out; the server then confirms with 226.
    m_data->disconnectFromHost();
}

void FtpSession::maybeComplete()
{
    if (m_finalReply && m_dataDone)
        complete(m_request.kind == FtpRequest::Kind::List ? namesWithCrLf(m_received)
                                                          : QByteArray());
}

void FtpSession::send(const QByteArray &line)
{
    m_control->write(line + "\r\n");
}

void FtpSession::touch()
{
    if (m_request.requestTimeoutSeconds > 0 && !m_ended)
        m_silence.start(m_request.requestTimeoutSeconds * 1000);
}

void FtpSession::onSilence()
{
    fail(m_connected ? FtpTransfer::RequestTimedOut : FtpTransfer::UnableToConnect,
         QStringLiteral("No answer from the server within %1 s")
             .arg(m_request.requestTimeoutSeconds));
}

void FtpSession::complete(const QByteArray &response)
{
    if (m_ended)
        return;
    m_ended = true;
    m_silence.stop();
    send("QUIT");
    m_control->flush();
    m_control->disconnect(this);
    m_control->disconnectFromHost();
    if (m_data) {
        m_data->disconnect(this);
        m_data->abort();
    }
    emit finished(FtpTransfer::NoError, {}, response);
}

void FtpSession::fail(int error, const QString &text)
{
    if (m_ended)
        return;
    abort();
    emit finished(error, text, {});
}
