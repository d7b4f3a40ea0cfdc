#include "host_registry.h"

#include "platform/ftp_transfer.h"
#include "platform/rtf_document.h"
#include "platform/settings.h"


#include <utility>

HostRegistry::HostRegistry(QObject *parent)
    : QObject(parent)
    , m_inet1(new FtpTransfer(this))
    , m_inet2(new FtpTransfer(this))
    , m_inet3(new FtpTransfer(this))
{
    m_inet1->setObjectName(QStringLiteral("Inet1"));
    m_inet2->setObjectName(QStringLiteral("Inet2"));
    m_inet3->setObjectName(QStringLiteral("Inet3"));
    connect(m_inet3, &FtpTransfer::StateChanged, this, &HostRegistry::Inet3_StateChanged);
}

void HostRegistry::configure()
{
    m_address = Settings::registry();
    const RegistryAddress &registry = m_address;
    for (FtpTransfer *inet : {m_inet1, m_inet2, m_inet3}) {
        inet->setAccessType(AccessDirect);
        inet->setRequestTimeout(RequestTimeoutSeconds);
        inet->setProtocol(ProtocolFtp);
        inet->setUrl(registry.url());
        inet->setUserName(registry.account);
        inet->setPassword(registry.password);
    }
}

QString HostRegistry::stagingFile(const QString &address)
{
    return Settings::cFile(QStringLiteral("C:/") + address);
}

bool HostRegistry::Publish(const QString &address)
{
    if (!configured())
        return false;  // no registry: the LAN still finds this host
    // A failed save still tries the upload: its failure is as silent as any other.
    RtfDocument::save(stagingFile(address), address);
    const bool started = m_inet3->Execute(QStringLiteral("PUT C:/") + address + u' ' + address);
    if (started) {
        m_uploading = address;
        m_withdrawAfterUpload.clear();
    }
    return started;
}

bool HostRegistry::Withdraw(const QString &address)
{
    if (!configured())
        return false;
    // A delete that overtook the upload of the same entry would find nothing to delete, and
    // the upload would then leave the entry listed for good (a host that cannot listen
    // withdraws at once): it waits for the upload to end instead.
    if (!m_uploading.isEmpty() && m_uploading == address && m_inet3->StillExecuting()) {
        m_withdrawAfterUpload = address;
        return true;
    }
    return m_inet2->Execute(QStringLiteral("DELETE ") + address);
}

void HostRegistry::Inet3_StateChanged(int state)
{
    if (state != FtpTransfer::ResponseCompleted && state != FtpTransfer::Error)
        return;
    m_uploading.clear();
    const QString address = std::exchange(m_withdrawAfterUpload, QString());
    if (address.isEmpty())
        return;
    m_inet2->Execute(QStringLiteral("DELETE ") + address);
    emit withdrawStarted();
}

bool HostRegistry::List()
{
    if (!configured())
        return false;
    return m_inet1->Execute(QStringLiteral("DIR"));
}

bool HostRegistry::deleteBusy() const
{
    return m_inet2->StillExecuting() || !m_withdrawAfterUpload.isEmpty();
}
