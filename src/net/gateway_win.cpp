#include "net/port_mapper.h"

#include <winsock2.h>
#include <ws2tcpip.h>
#include <iphlpapi.h>

#include <QtEndian>

// The route Windows would take to any address from `localAddress`: its next hop is the
// default gateway. Nothing is sent.
QHostAddress defaultGateway(const QHostAddress &localAddress)
{
    MIB_IPFORWARDROW row = {};
    const DWORD source = qToBigEndian(localAddress.toIPv4Address());
    if (GetBestRoute(0, source, &row) != NO_ERROR || row.dwForwardNextHop == 0)
        return {};
    return QHostAddress(qFromBigEndian(quint32(row.dwForwardNextHop)));
}
