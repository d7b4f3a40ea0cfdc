#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <deque>
#include <map>
#include <memory>

class FtpTransfer;
class QSocketNotifier;

// One request as FtpTransfer hands it over.
struct FtpRequest
{
    enum class Kind { List, Put, Delete };
    Kind kind = Kind::List;
    QByteArray url;          // folder URL for List and Delete, file URL for Put
    QByteArray userName;
    QByteArray password;
    QByteArray deleteName;   // Delete: the file name for DELE
    QString localFile;       // Put: the file to upload
    bool direct = true;      // no proxy
    int requestTimeoutSeconds = 0;
};

// Runs every FTP request of the process on libcurl's multi interface, on the UI thread:
// curl's sockets are watched by QSocketNotifiers and its timeouts by one QTimer.
//
// Why not a worker thread per request: a multi handle never blocks (curl resolves names on
// its own thread), Cancel and destruction are immediate (remove the handle, nothing to join),
// reports need no cross-thread hand-over, and uploads or deletes of a destroyed transfer
// simply keep running here until they end, which is what the program's exit waits for.
//
// Reports are never sent from inside a curl callback: they are queued and delivered in
// order once curl has returned, so a receiver may cancel, start a new request, run the
// event loop or delete its transfer.
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

signals:
    void writesFinished();

private:
    struct Job;
    struct Callbacks;   // curl's C callbacks, with access to the members below
    struct Watch
    {
        QSocketNotifier *read = nullptr;
        QSocketNotifier *write = nullptr;
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

    void watch(qintptr fd, int what);
    void unwatch(qintptr fd);
    void onSocket(qintptr fd, int curlFlags);
    void onTimeout();
    void onConnectDeadline(quint64 job);

    void afterCurl();
    void noteConnections();
    void collectFinished();
    void finish(Job &job, int error, const QString &errorText);
    void remove(quint64 job);
    void queue(const Job &job, int state, int error = 0, const QString &errorText = {},
               const QByteArray &response = {});
    void deliver();

    void *m_multi = nullptr;
    QTimer m_timer;
    quint64 m_nextJob = 1;
    std::map<quint64, std::unique_ptr<Job>> m_jobs;
    QHash<qintptr, Watch> m_watches;
    std::deque<Report> m_reports;
    bool m_deliveryPosted = false;

    static QPointer<FtpTransferDriver> s_instance;
};
