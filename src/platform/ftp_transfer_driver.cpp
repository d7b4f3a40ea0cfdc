#include "ftp_transfer_driver.h"

#include "ftp_session.h"
#include "ftp_transfer.h"

#include <QCoreApplication>
#include <QThread>

QPointer<FtpTransferDriver> FtpTransferDriver::s_instance;

FtpTransferDriver *FtpTransferDriver::instance()
{
    if (!s_instance) {
        QCoreApplication *app = QCoreApplication::instance();
        if (!app || QThread::currentThread() != app->thread())
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
}

FtpTransferDriver::~FtpTransferDriver()
{
    // The sessions are children and go with this object; none may report into a
    // half-destroyed driver.
    for (auto &[id, job] : m_jobs)
        job.session->abort();
}

quint64 FtpTransferDriver::start(FtpTransfer *client, const FtpRequest &request, int *errorNumber,
                                 QString *errorText)
{
    auto *session = new FtpSession(request, this);
    if (request.kind == FtpRequest::Kind::Put && !session->openLocalFile(errorText)) {
        *errorNumber = FtpTransfer::FileAccessError;
        delete session;
        return 0;
    }
    const quint64 id = m_nextJob++;
    m_jobs.emplace(id, Job{client, session});
    connect(session, &FtpSession::connected, this, [this, id] { queue(id, FtpTransfer::Connected); });
    connect(session, &FtpSession::finished, this,
            [this, id, write = request.kind != FtpRequest::Kind::List](
                int error, const QString &text, const QByteArray &response) {
                if (write && error == FtpTransfer::UnableToConnect)
                    ++m_unreachableWrites;
                if (error == FtpTransfer::NoError)
                    queue(id, FtpTransfer::ResponseCompleted, error, text, response);
                else
                    queue(id, FtpTransfer::Error, error, text);
                remove(id);
            });
    queue(id, FtpTransfer::Connecting);
    session->start();
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
    if (it->second.session->kind() == FtpRequest::Kind::List)
        remove(id);
    else
        it->second.client = nullptr;
}

int FtpTransferDriver::pendingWrites() const
{
    int count = 0;
    for (const auto &[id, job] : m_jobs)
        count += job.session->kind() != FtpRequest::Kind::List;
    return count;
}

void FtpTransferDriver::remove(quint64 id)
{
    const auto it = m_jobs.find(id);
    if (it == m_jobs.end())
        return;
    FtpSession *session = it->second.session;
    const bool write = session->kind() != FtpRequest::Kind::List;
    m_jobs.erase(it);
    // Possibly called from inside one of the session's own signals.
    session->disconnect(this);
    session->abort();
    session->deleteLater();
    if (write && pendingWrites() == 0)
        emit writesFinished();
}

void FtpTransferDriver::queue(quint64 id, int state, int error, const QString &errorText,
                              const QByteArray &response)
{
    const auto it = m_jobs.find(id);
    if (it == m_jobs.end() || !it->second.client)
        return;
    m_reports.push_back({id, it->second.client, state, error, errorText, response});
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
