#pragma once

#include "platform/game_settings.h"

#include <QObject>
#include <QString>

class FtpTransfer;

// The registry of open games: one file per hosting machine in the lobby's FTP account,
// named by the machine's address. One transfer per duty, so that a listing, a delete and an
// upload can be under way together: `Inet1` lists, `Inet2` deletes, `Inet3` uploads.
class HostRegistry : public QObject
{
    Q_OBJECT

public:
    static constexpr int AccessDirect = 1;
    static constexpr int RequestTimeoutSeconds = 50;
    static constexpr int ProtocolFtp = 4;

    explicit HostRegistry(QObject *parent = nullptr);

    // Gives Inet1, Inet2 and Inet3, in this order, the lobby's connection settings: the
    // registry in force when it is called.
    void configure();
    // A registry is configured; without one, publishing, withdrawing and listing do nothing.
    bool configured() const { return m_address.isSet(); }
    // The registry configure() found (unset: none).
    const RegistryAddress &address() const { return m_address; }

    // Saves the staging file "C:/" + address (an RTF document whose text is the address)
    // and starts its upload under the name `address`. The outcome is not looked at.
    bool Publish(const QString &address);
    // Starts the delete of the entry `address`, busy or not; while the upload of that same
    // entry is still under way, the delete starts once the upload has ended.
    bool Withdraw(const QString &address);
    // Starts the listing.
    bool List();
    // A delete is still under way (the lobby's "Hapus" refuses then).
    bool deleteBusy() const;
    // A withdrawal waits for its entry's upload to end; withdrawStarted() follows.
    bool withdrawWaiting() const { return !m_withdrawAfterUpload.isEmpty(); }

    static QString stagingFile(const QString &address);

    FtpTransfer *Inet1() const { return m_inet1; }
    FtpTransfer *Inet2() const { return m_inet2; }
    FtpTransfer *Inet3() const { return m_inet3; }

signals:
    // The delete that waited for the upload has been started (or could not be).
    void withdrawStarted();

private:
    void Inet3_StateChanged(int state);

    FtpTransfer *m_inet1;
    FtpTransfer *m_inet2;
    FtpTransfer *m_inet3;
    RegistryAddress m_address;
    QString m_uploading;            // the entry Inet3 is uploading
    QString m_withdrawAfterUpload;  // to delete once that upload has ended
};
