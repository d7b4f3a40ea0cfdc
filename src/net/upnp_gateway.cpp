#include "upnp_gateway.h"

#include "net/host_address.h"
#include "net/ssdp_search.h"

#include <QHostAddress>

#ifdef DORVALA_HAVE_MINIUPNPC
#include <miniupnpc/miniupnpc.h>
#include <miniupnpc/upnpcommands.h>
#endif

namespace {

constexpr const char *Description = "Dorvala Online";
constexpr int NotOpen = -100;

} // namespace

bool UpnpGateway::available()
{
#ifdef DORVALA_HAVE_MINIUPNPC
    return true;
#else
    return false;
#endif
}

#ifdef DORVALA_HAVE_MINIUPNPC

struct UpnpGateway::Data
{
    UPNPUrls urls = {};
    IGDdatas data = {};
    bool open = false;
    char lanAddress[64] = {};

    void close()
    {
        if (open)
            FreeUPNPUrls(&urls);
        urls = {};
        open = false;
    }
};

UpnpGateway::UpnpGateway()
    : d(std::make_unique<Data>())
{
}

UpnpGateway::~UpnpGateway()
{
    d->close();
}

bool UpnpGateway::isOpen() const
{
    return d->open;
}

bool UpnpGateway::discover(const QByteArray &localAddress, int waitMs)
{
    d->close();
    // The first gateway to answer is the one used, at once: a home network has one.
    const QByteArray location = Ssdp::searchFirst(QHostAddress(QString::fromLatin1(localAddress)), waitMs);
    return !location.isEmpty() && openDescription(location);
}

bool UpnpGateway::openDescription(const QByteArray &url)
{
    d->close();
    d->open = UPNP_GetIGDFromUrl(url.constData(), &d->urls, &d->data, d->lanAddress,
                                 sizeof d->lanAddress) == 1;
    if (!d->open)
        FreeUPNPUrls(&d->urls);
    return d->open;
}

int UpnpGateway::externalAddress(quint32 *ipv4)
{
    if (!d->open)
        return NotOpen;
    char text[40] = {};
    const int result = UPNP_GetExternalIPAddress(d->urls.controlURL, d->data.first.servicetype, text);
    if (result != UPNPCOMMAND_SUCCESS)
        return result;
    if (text[0] == '\0')
        return NoExternalAddress;
    // Whatever the router wrote must be a plain dotted address.
    return HostAddress::parseIpv4(QString::fromLatin1(text, qstrnlen(text, sizeof text)), ipv4)
               ? 0
               : UPNPCOMMAND_INVALID_RESPONSE;
}

int UpnpGateway::addMapping(quint16 externalPort, quint16 internalPort, const QByteArray &client,
                            quint32 leaseSeconds)
{
    if (!d->open)
        return NotOpen;
    return UPNP_AddPortMapping(d->urls.controlURL, d->data.first.servicetype,
                               QByteArray::number(externalPort).constData(),
                               QByteArray::number(internalPort).constData(), client.constData(),
                               Description, "TCP", nullptr,
                               QByteArray::number(leaseSeconds).constData());
}

int UpnpGateway::deleteMapping(quint16 externalPort)
{
    if (!d->open)
        return NotOpen;
    return UPNP_DeletePortMapping(d->urls.controlURL, d->data.first.servicetype,
                                  QByteArray::number(externalPort).constData(), "TCP", nullptr);
}

bool UpnpGateway::mappingHolder(quint16 externalPort, QByteArray *client, quint16 *internalPort)
{
    if (!d->open)
        return false;
    // Sizes as miniupnpc writes them: 16 for the client, 6 for the port, 80 for the text.
    char intClient[16] = {};
    char intPort[6] = {};
    char desc[80] = {};
    char enabled[4] = {};
    char lease[16] = {};
    if (UPNP_GetSpecificPortMappingEntry(d->urls.controlURL, d->data.first.servicetype,
                                         QByteArray::number(externalPort).constData(), "TCP", nullptr,
                                         intClient, intPort, desc, enabled, lease)
        != UPNPCOMMAND_SUCCESS)
        return false;
    *client = QByteArray(intClient, qstrnlen(intClient, sizeof intClient));
    *internalPort = quint16(QByteArray(intPort, qstrnlen(intPort, sizeof intPort)).toUShort());
    return true;
}

#else  // without libminiupnpc: no router ever answers through UPnP

struct UpnpGateway::Data
{
};

UpnpGateway::UpnpGateway() = default;
UpnpGateway::~UpnpGateway() = default;
bool UpnpGateway::isOpen() const { return false; }
bool UpnpGateway::discover(const QByteArray &, int) { return false; }
bool UpnpGateway::openDescription(const QByteArray &) { return false; }
int UpnpGateway::externalAddress(quint32 *) { return NotOpen; }
int UpnpGateway::addMapping(quint16, quint16, const QByteArray &, quint32) { return NotOpen; }
int UpnpGateway::deleteMapping(quint16) { return NotOpen; }
bool UpnpGateway::mappingHolder(quint16, QByteArray *, quint16 *) { return false; }

#endif
