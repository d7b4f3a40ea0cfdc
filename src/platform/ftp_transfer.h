#pragma once

#include <QObject>
#include <QString>

// The internet transfer control, for FTP: set the connection properties, Execute a command,
// poll StillExecuting, follow StateChanged, read the response with GetChunk.
//
// Execute returns at once; the transfer runs in the background and reports on the thread
// that owns the object (the UI thread). A failure to reach the server is error 35754.
//
// Commands:
//   "DIR"                    names-only listing of the URL's folder; the response is the
//                            names, each ended by CR LF
//   "PUT <local> <remote>"   upload; <local> is a program path such as "C:/10.0.0.7"
//                            (mapped into the drive-C folder), <remote> the file name
//   "DELETE <name>"          delete a file of the URL's folder
class FtpTransfer : public QObject
{
    Q_OBJECT

public:
    // The control's state numbers.
    enum State {
        None = 0,
        Connecting = 3,
        Connected = 4,
        Requesting = 5,
        RequestSent = 6,
        ReceivingResponse = 7,
        ResponseReceived = 8,
        Disconnecting = 9,
        Disconnected = 10,
        Error = 11,
        ResponseCompleted = 12,
    };

    // Error numbers as the control raises or reports them.
    enum ErrorNumber {
        NoError = 0,
        FileAccessError = 75,          // the local file of a PUT cannot be read
        ServerError = 12003,           // the server refused a command or the transfer failed
        LoginRefused = 12014,          // wrong account or password
        UrlMalformed = 35752,
        UnsupportedCommand = 35753,
        UnableToConnect = 35754,       // refused, unresolvable, or no connection in time
        RequestTimedOut = 35761,       // connected, but the server stopped answering
        StillExecutingLastRequest = 35764,
    };

    // TCP connection must be made within this time, else UnableToConnect.
    static constexpr int ConnectTimeoutMs = 5000;

    explicit FtpTransfer(QObject *parent = nullptr);
    ~FtpTransfer() override;

    // 0 = the system's proxy settings, 1 = direct (no proxy).
    void setAccessType(int accessType);
    int accessType() const { return m_accessType; }
    // Seconds the server may stay silent before the request fails; 0 = no limit.
    void setRequestTimeout(int seconds);
    int requestTimeout() const { return m_requestTimeout; }
    // Kept for the control's sake; the URL's scheme decides (only ftp is served).
    void setProtocol(int protocol);
    int protocol() const { return m_protocol; }
    // Setting the URL takes its user part as the user name, as the control does.
    void setUrl(const QString &url);
    QString url() const { return m_url; }
    void setUserName(const QString &userName);
    QString userName() const { return m_userName; }
    void setPassword(const QString &password);
    QString password() const { return m_password; }

    // Starts `command` and returns true; false (with lastError() set, and no state change)
    // when the object is still executing, the command or URL is not understood, or the
    // local file of a PUT cannot be opened.
    bool Execute(const QString &command);
    bool StillExecuting() const { return m_executing; }
    // The next part of the response, at most maxChars characters; empty when none is left.
    // The response is available once the request has completed.
    QString GetChunk(int maxChars);
    // Stops the current request at once, without a state change; the object is ready for
    // the next Execute.
    void Cancel();

    int state() const { return m_state; }
    int lastError() const { return m_lastError; }
    QString lastErrorText() const { return m_lastErrorText; }

    // Gives uploads and deletes still under way (also of destroyed objects, and those started
    // from the reports of others meanwhile) up to `ms` milliseconds to finish, running the
    // event loop meanwhile. True if none is left. Gives up early, false, once one of them
    // could not reach its server at all: the others go to the same registry. Listings are
    // not waited for. For the program's exit.
    static bool waitForPending(int ms);

signals:
    void StateChanged(int state);

private:
    friend class FtpTransferDriver;

    // Called by the driver on this object's thread; `job` tells stale reports apart.
    void report(quint64 job, int state, int error, const QString &errorText,
                const QByteArray &response);
    void fail(int error, const QString &text);

    int m_accessType = 0;
    int m_requestTimeout = 60;
    int m_protocol = 0;
    QString m_url;
    QString m_userName;
    QString m_password;

    bool m_executing = false;
    quint64 m_job = 0;
    int m_state = None;
    int m_lastError = NoError;
    QString m_lastErrorText;
    QString m_response;
    qsizetype m_responsePos = 0;
};
