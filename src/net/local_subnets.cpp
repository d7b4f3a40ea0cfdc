#include "local_subnets.h"

#include <QNetworkInterface>

LocalSubnets LocalSubnets::ofThisMachine()
{
    QList<QNetworkAddressEntry> entries;
    for (const QNetworkInterface &face : QNetworkInterface::allInterfaces()) {
        if (face.flags().testFlag(QNetworkInterface::IsUp))
            entries += face.addressEntries();
    }
    return fromEntries(entries);
}

LocalSubnets LocalSubnets::fromEntries(const QList<QNetworkAddressEntry> &entries)
{
    QList<Subnet> subnets;
    for (const QNetworkAddressEntry &entry : entries) {
        if (entry.ip().protocol() != QAbstractSocket::IPv4Protocol)
            continue;
        const int prefix = entry.prefixLength();
        // A /0 "subnet" would let the whole internet in: it is no LAN.
        if (prefix <= 0 || prefix > 32)
            continue;
        const quint32 mask = ~quint32(0) << (32 - prefix);
        subnets.append({entry.ip().toIPv4Address() & mask, mask});
    }
    return LocalSubnets(subnets);
}

bool LocalSubnets::contains(quint32 address) const
{
    for (const Subnet &s : m_subnets) {
        if ((address & s.mask) == s.network)
            return true;
    }
    return false;
}
