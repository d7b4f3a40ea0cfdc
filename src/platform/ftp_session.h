#pragma once

#include <QByteArray>
#include <QFile>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

class QTcpSocket;

// One request as FtpTransfer hands it over.
struct FtpRequest
{
    enum class Kind { List, Put, Delete };
    Kind kind = Kind::List;
    QString host;
    quint16 port = 21;
    QStringList folder;      // the folders to change into, one CWD each, from the login's
    QByteArray fileName;     // Put: the remote name; Delete: the name to delete
    QByteArray userName;
    QByteArray password;
    QString localFile;       // Put: the file to upload
    bool direct = true;      // no proxy
    int requestTimeoutSeconds = 0;
};

// One request's whole FTP conversation, on the thread that owns it: the control connection,
// the greeting, USER/PASS, TYPE, one CWD per folder, a passive data connection (EPSV, else
// PASV) for NLST or STOR, or DELE; then QUIT. Plain FTP is all the registry needs, and Qt
// Network is in the process anyway: a general FTP library would bring dozens of libraries
// (TLS, LDAP, SSH, ...) into every player's process for these few commands.
//
// A hostile or broken server gets a defined end: replies are bounded in length, the
// listing in size, silence by the request time-out, and the data connection goes to the
// control connection's own peer whatever address a PASV reply names.
class FtpSession : public QObject
{
    Q_OBJECT

public:
    FtpSession(const FtpRequest &request, QObject *parent);
    ~FtpSession() override;

    // Opens the local file of a Put; false with `errorText` set when it cannot be read.
    bool openLocalFile(QString *errorText);
    void start();
    // Drops both connections at once; nothing is reported afterwards.
    void abort();

    FtpRequest::Kind kind() const { return m_request.kind; }

    // The listing as the control promises it: one file name per line, each ended by CR LF;
    // the folder's own entries "." and ".." are left out.
    static QByteArray namesWithCrLf(const QByteArray &received);

signals:
    void connected();
    // Exactly once, unless aborted; `error` is one of FtpTransfer's error numbers.
    void finished(int error, const QString &errorText, const QByteArray &response);

private:
    enum class Step { Greeting, User, Pass, Type, Cwd, Epsv, Pasv, Transfer };

    void onControlConnected();
    void onControlReadable();
    void onControlError();
    void onDataConnected();
    void onDataReadable();
    void onDataClosed();
    void onDataWritten();
    void onSilence();

    void reply(int code, const QByteArray &text);
    void afterLogin();
    void nextFolder();
    void openData(quint16 port);
    void sendUpload();
    void maybeComplete();
    void send(const QByteArray &line);
    void touch();
    void complete(const QByteArray &response);
    void fail(int error, const QString &text);

    FtpRequest m_request;
    QTcpSocket *m_control;
    QTcpSocket *m_data = nullptr;
    QFile m_upload;
    QTimer m_silence;
    QByteArray m_controlBuffer;
    QByteArray m_received;
    int m_multiLineCode = 0;      // inside a multi-line reply with this code
    Step m_step = Step::Greeting;
    int m_folderIndex = 0;
    bool m_connected = false;
    bool m_goAhead = false;       // the server's 1xx for the transfer
    bool m_finalReply = false;    // its 2xx after the transfer
    bool m_dataDone = false;      // data connection finished (listing read, upload sent)
    bool m_uploadSent = false;
    bool m_ended = false;
};
