#include "ftp_transfer_driver.h"

#include "ftp_transfer.h"

#include <QCoreApplication>
#include <QFile>
#include <QSocketNotifier>
#include <QThread>

#include <curl/curl.h>

#include <climits>

namespace {

// A hostile or broken server must not be able to fill the memory with one "listing".
constexpr qsizetype MaxListingBytes = 64 * 1024 * 1024;

// Curl turns the server's CR LF into LF for text transfers on this platform; the listing
// promises one name per line, each ended by CR LF, whatever the server sent.
QByteArray namesWithCrLf(const QByteArray &received)
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
        names.append(received.constData() + start, stop - start).append("\r\n");
        start = end + 1;
    }
    return names;
}

} // namespace

struct FtpTransferDriver::Job
{
    quint64 id = 0;
    QPointer<FtpTransfer> client;
    FtpRequest::Kind kind = FtpRequest::Kind::List;
    CURL *easy = nullptr;
    curl_slist *quote = nullptr;
    QFile upload;
    QByteArray received;
    char errorBuffer[CURL_ERROR_SIZE] = {};
    bool connected = false;

    ~Job()
    {
        if (easy)
            curl_easy_cleanup(easy);
        if (quote)
            curl_slist_free_all(quote);
    }
};

struct FtpTransferDriver::Callbacks
{
    static int socket(CURL *, curl_socket_t fd, int what, void *self, void *)
    {
        static_cast<FtpTransferDriver *>(self)->watch(qintptr(fd), what);
        return 0;
    }

    static int timer(CURLM *, long timeoutMs, void *self)
    {
        // Only arm the timer here: curl must not be called back from its own callback.
        QTimer &timer = static_cast<FtpTransferDriver *>(self)->m_timer;
        if (timeoutMs < 0)
            timer.stop();
        else
            timer.start(int(qMin<long>(timeoutMs, INT_MAX)));
        return 0;
    }

    static size_t write(char *data, size_t size, size_t count, void *jobPointer)
    {
        auto *job = static_cast<Job *>(jobPointer);
        const size_t bytes = size * count;
        if (job->kind == FtpRequest::Kind::List) {
            if (job->received.size() + qsizetype(bytes) > MaxListingBytes)
                return 0;  // curl ends the transfer with a write error
            job->received.append(data, qsizetype(bytes));
        }
        return bytes;
    }

    static size_t discard(char *, size_t size, size_t count, void *)
    {
        return size * count;
    }

    static size_t read(char *buffer, size_t size, size_t count, void *jobPointer)
    {
        auto *job = static_cast<Job *>(jobPointer);
        const qint64 got = job->upload.read(buffer, qint64(size * count));
        return got < 0 ? size_t(CURL_READFUNC_ABORT) : size_t(got);
    }
};

QPointer<FtpTransferDriver> FtpTransferDriver::s_instance;

FtpTransferDriver *FtpTransferDriver::instance()
{
    if (!s_instance) {
        QCoreApplication *app = QCoreApplication::instance();
        if (!app || QThread::currentThread() != app->thread())
            return nullptr;
        static const bool initialised = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
        if (!initialised)
            return nullptr;
        s_instance = new FtpTransferDriver(app);
    }
    return s_instance;
}

FtpTransferDriver *FtpTransferDriver::existing()
{
    return s_instance;
}

FtpTransferDriver::FtpTransferDriver(QObject *parent)
    : QObject(parent)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &FtpTransferDriver::onTimeout);
    m_multi = curl_multi_init();
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, &Callbacks::socket);
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, &Callbacks::timer);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERDATA, this);
}

FtpTransferDriver::~FtpTransferDriver()
{
    // The notifiers are children and go with this object; curl must not call back into a
    // half-destroyed driver while it lets go of its sockets.
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, nullptr);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, nullptr);
    for (auto &[id, job] : m_jobs)
        curl_multi_remove_handle(m_multi, job->easy);
    m_jobs.clear();
    curl_multi_cleanup(m_multi);
}

quint64 FtpTransferDriver::start(FtpTransfer *client, const FtpRequest &request, int *errorNumber,
                                 QString *errorText)
{
    auto job = std::make_unique<Job>();
    job->id = m_nextJob++;
    job->client = client;
    job->kind = request.kind;

    if (request.kind == FtpRequest::Kind::Put) {
        job->upload.setFileName(request.localFile);
        if (!job->upload.open(QIODevice::ReadOnly)) {
            *errorNumber = FtpTransfer::FileAccessError;
            *errorText = QStringLiteral("Path/File access error: %1").arg(request.localFile);
            return 0;
        }
    }
    job->easy = curl_easy_init();
    if (!job->easy) {
        *errorNumber = FtpTransfer::ServerError;
        *errorText = QStringLiteral("Cannot start the transfer");
        return 0;
    }

    CURL *easy = job->easy;
    curl_easy_setopt(easy, CURLOPT_PRIVATE, job.get());
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, job->errorBuffer);
    curl_easy_setopt(easy, CURLOPT_URL, request.url.constData());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "ftp");
    curl_easy_setopt(easy, CURLOPT_USERNAME, request.userName.constData());
    curl_easy_setopt(easy, CURLOPT_PASSWORD, request.password.constData());
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    // Each request has its own connection, so "connected" always means this request's.
    curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
    if (request.direct)
        curl_easy_setopt(easy, CURLOPT_PROXY, "");
    if (request.requestTimeoutSeconds > 0) {
        // The TCP connect itself is bounded by ConnectTimeoutMs (onConnectDeadline); curl's
        // connect phase for FTP also waits for the greeting and the login, which is the
        // server answering a request.
        const long seconds = request.requestTimeoutSeconds;
        curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, seconds);
        curl_easy_setopt(easy, CURLOPT_SERVER_RESPONSE_TIMEOUT, seconds);
        curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
        curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, seconds);
    }
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Callbacks::discard);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Callbacks::write);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, job.get());

    switch (request.kind) {
    case FtpRequest::Kind::List:
        curl_easy_setopt(easy, CURLOPT_DIRLISTONLY, 1L);
        break;
    case FtpRequest::Kind::Put:
        curl_easy_setopt(easy, CURLOPT_UPLOAD, 1L);
        curl_easy_setopt(easy, CURLOPT_READFUNCTION, &Callbacks::read);
        curl_easy_setopt(easy, CURLOPT_READDATA, job.get());
        curl_easy_setopt(easy, CURLOPT_INFILESIZE_LARGE, curl_off_t(job->upload.size()));
        break;
    case FtpRequest::Kind::Delete:
        job->quote = curl_slist_append(nullptr, "DELE " + request.deleteName);
        curl_easy_setopt(easy, CURLOPT_QUOTE, job->quote);
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
        break;
    }

    if (curl_multi_add_handle(m_multi, easy) != CURLM_OK) {
        *errorNumber = FtpTransfer::ServerError;
        *errorText = QStringLiteral("Cannot start the transfer");
        return 0;
    }
    const quint64 id = job->id;
    queue(*job, FtpTransfer::Connecting);
    m_jobs.emplace(id, std::move(job));
    QTimer::singleShot(FtpTransfer::ConnectTimeoutMs, this, [this, id] { onConnectDeadline(id); });
    return id;
}

void FtpTransferDriver::cancel(quint64 job)
{
    remove(job);
}

void FtpTransferDriver::release(quint64 id)
{
    const auto it = m_jobs.find(id);
    if (it == m_jobs.end())
        return;
    if (it->second->kind == FtpRequest::Kind::List)
        remove(id);
    else
        it->second->client = nullptr;
}

int FtpTransferDriver::pendingWrites() const
{
    int count = 0;
    for (const auto &[id, job] : m_jobs)
        count += job->kind != FtpRequest::Kind::List;
    return count;
}

void FtpTransferDriver::watch(qintptr fd, int what)
{
    if (what == CURL_POLL_REMOVE) {
        unwatch(fd);
        return;
    }
    Watch &w = m_watches[fd];
    const bool wantRead = what & CURL_POLL_IN;
    const bool wantWrite = what & CURL_POLL_OUT;
    if (wantRead && !w.read) {
        w.read = new QSocketNotifier(fd, QSocketNotifier::Read, this);
        connect(w.read, &QSocketNotifier::activated, this,
                [this, fd] { onSocket(fd, CURL_CSELECT_IN); });
    }
    if (wantWrite && !w.write) {
        w.write = new QSocketNotifier(fd, QSocketNotifier::Write, this);
        connect(w.write, &QSocketNotifier::activated, this,
                [this, fd] { onSocket(fd, CURL_CSELECT_OUT); });
    }
    if (w.read)
        w.read->setEnabled(wantRead);
    if (w.write)
        w.write->setEnabled(wantWrite);
}

void FtpTransferDriver::unwatch(qintptr fd)
{
    const Watch w = m_watches.take(fd);
    // Possibly called while one of these notifiers is delivering its signal.
    for (QSocketNotifier *notifier : {w.read, w.write}) {
        if (notifier) {
            notifier->setEnabled(false);
            notifier->deleteLater();
        }
    }
}

void FtpTransferDriver::onSocket(qintptr fd, int curlFlags)
{
    int running = 0;
    curl_multi_socket_action(m_multi, curl_socket_t(fd), curlFlags, &running);
    afterCurl();
}

void FtpTransferDriver::onTimeout()
{
    int running = 0;
    curl_multi_socket_action(m_multi, CURL_SOCKET_TIMEOUT, 0, &running);
    afterCurl();
}

void FtpTransferDriver::afterCurl()
{
    noteConnections();
    collectFinished();
}

void FtpTransferDriver::noteConnections()
{
    for (auto &[id, job] : m_jobs) {
        if (job->connected)
            continue;
        curl_off_t connectTime = 0;
        if (curl_easy_getinfo(job->easy, CURLINFO_CONNECT_TIME_T, &connectTime) == CURLE_OK
            && connectTime > 0) {
            job->connected = true;
            queue(*job, FtpTransfer::Connected);
        }
    }
}

void FtpTransferDriver::collectFinished()
{
    int left = 0;
    while (CURLMsg *message = curl_multi_info_read(m_multi, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        const CURLcode result = message->data.result;
        void *jobPointer = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &jobPointer);
        Job &job = *static_cast<Job *>(jobPointer);
        if (result == CURLE_OK) {
            if (!job.connected) {
                job.connected = true;
                queue(job, FtpTransfer::Connected);
            }
            queue(job, FtpTransfer::ResponseCompleted, FtpTransfer::NoError, {},
                  job.kind == FtpRequest::Kind::List ? namesWithCrLf(job.received)
                                                     : QByteArray());
            remove(job.id);
            continue;
        }
        QString text = QString::fromUtf8(job.errorBuffer);
        if (text.isEmpty())
            text = QString::fromUtf8(curl_easy_strerror(result));
        int error = FtpTransfer::ServerError;
        switch (result) {
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
        case CURLE_COULDNT_CONNECT:
            error = FtpTransfer::UnableToConnect;
            break;
        case CURLE_OPERATION_TIMEDOUT:
            error = job.connected ? FtpTransfer::RequestTimedOut : FtpTransfer::UnableToConnect;
            break;
        case CURLE_LOGIN_DENIED:
            error = FtpTransfer::LoginRefused;
            break;
        case CURLE_URL_MALFORMAT:
            error = FtpTransfer::UrlMalformed;
            break;
        case CURLE_READ_ERROR:
        case CURLE_ABORTED_BY_CALLBACK:
            error = FtpTransfer::FileAccessError;
            break;
        default:
            break;
        }
        finish(job, error, text);
    }
}

void FtpTransferDriver::onConnectDeadline(quint64 id)
{
    const auto it = m_jobs.find(id);
    if (it == m_jobs.end() || it->second->connected)
        return;
    noteConnections();
    if (!it->second->connected) {
        finish(*it->second, FtpTransfer::UnableToConnect,
               QStringLiteral("Unable to connect to remote host: no connection within %1 s")
                   .arg(FtpTransfer::ConnectTimeoutMs / 1000));
    }
}

void FtpTransferDriver::finish(Job &job, int error, const QString &errorText)
{
    queue(job, FtpTransfer::Error, error, errorText);
    remove(job.id);
}

void FtpTransferDriver::remove(quint64 id)
{
    const auto it = m_jobs.find(id);
    if (it == m_jobs.end())
        return;
    const bool write = it->second->kind != FtpRequest::Kind::List;
    curl_multi_remove_handle(m_multi, it->second->easy);
    m_jobs.erase(it);
    if (write && pendingWrites() == 0)
        emit writesFinished();
}

void FtpTransferDriver::queue(const Job &job, int state, int error, const QString &errorText,
                              const QByteArray &response)
{
    if (!job.client)
        return;
    m_reports.push_back({job.id, job.client, state, error, errorText, response});
    if (!m_deliveryPosted) {
        m_deliveryPosted = true;
        QMetaObject::invokeMethod(this, &FtpTransferDriver::deliver, Qt::QueuedConnection);
    }
}

void FtpTransferDriver::deliver()
{
    m_deliveryPosted = false;
    // One report at a time from the shared queue: a receiver that runs the event loop
    // delivers the following reports itself, still in order.
    const QPointer<FtpTransferDriver> self(this);
    while (self && !m_reports.empty()) {
        Report report = std::move(m_reports.front());
        m_reports.pop_front();
        if (report.client)
            report.client->report(report.job, report.state, report.error, report.errorText,
                                  report.response);
    }
}
