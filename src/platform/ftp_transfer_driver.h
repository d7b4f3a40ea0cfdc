#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

#include <deque>
#include <map>

class FtpSession;
class FtpTransfer;
struct FtpRequest;

// Runs every FTP request of the process on the UI thread, one FtpSession per request.
//
// Why not a worker thread per request: the sockets never block, Cancel and destruction are
// immediate (nothing to join), reports need no cross-thread hand-over, and uploads or
// deletes of a destroyed transfer simply keep running here until they end, which is what
// the program's exit waits for.
//
// Reports are never sent from inside a socket's signal: they are queued and delivered in
// order afterwards, so a receiver may cancel, start a new request, run the event loop or
// delete its transfer.
class FtpTransferDriver : public QObject
{
    Q_OBJECT

public:
    static FtpTransferDriver *instance();   // made on first use, owned by the application
    static FtpTransferDriver *existing();   // nullptr before first use and after teardown

    ~FtpTransferDriver() override;

    // Starts a request for `client`; returns its job number, or 0 with the error set.
    quint64 start(FtpTransfer *client, const FtpRequest &request, int *errorNumber,
                  QString *errorText);
    // Drops a request at once; its reports are never delivered.
    void cancel(quint64 job);
    // The client goes away: a listing is dropped, uploads and deletes run on unreported.
    void release(quint64 job);
    // Uploads and deletes under way.
    int pendingWrites() const;
    // No write under way and no report waiting for delivery.
    bool idle() const { return pendingWrites() == 0 && m_reports.empty(); }
    // Uploads and deletes so far that could not reach their server at all.
    int unreachableWrites() const { return m_unreachableWrites; }

signals:
    void writesFinished();

private:
    struct Job
    {
        QPointer<FtpTransfer> client;
        FtpSession *session = nullptr;   // a child of the driver
    };
    struct Report
    {
        quint64 job = 0;
        QPointer<FtpTransfer> client;
        int state = 0;
        int error = 0;
        QString errorText;
        QByteArray response;
    };

    explicit FtpTransferDriver(QObject *parent);

    void remove(quint64 job);
    void queue(quint64 job, int state, int error = 0, const QString &errorText = {},
               const QByteArray &response = {});
    void deliver();

    quint64 m_nextJob = 1;
    std::map<quint64, Job> m_jobs;
    std::deque<Report> m_reports;
    bool m_deliveryPosted = false;
    int m_unreachableWrites = 0;

    static QPointer<FtpTransferDriver> s_instance;
};
