#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QHostAddress>

// The first Internet Gateway Device to answer an SSDP search, without waiting out the rest:
// libminiupnpc's own search always waits its whole delay (a second at the least), and a home
// router answers within milliseconds. Blocking: for the UPnP worker's thread only.
namespace Ssdp {

constexpr quint16 Port = 1900;
QHostAddress multicastGroup();  // 239.255.255.250

// The description address in an SSDP answer from `from`, when the answer is a "200" for a
// gateway device and the address is plain http on the answering machine itself (a datagram
// naming another machine could send the router's traffic anywhere); empty otherwise.
QByteArray gatewayLocation(QByteArrayView datagram, const QHostAddress &from);

// Searches from `local` (never a loopback address: the search is multicast on its LAN) and
// returns the first gateway's description address, or an empty one after `waitMs`. Tests
// name a unicast `to` on loopback instead of the multicast group.
QByteArray searchFirst(const QHostAddress &local, int waitMs, const QHostAddress &to = multicastGroup(),
                       quint16 port = Port);

} // namespace Ssdp
