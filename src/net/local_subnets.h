#pragma once

#include <QHostAddress>
#include <QList>
#include <QNetworkAddressEntry>

// This machine's IPv4 subnets, as its interfaces hold them: a datagram whose source lies in
// none of them did not come from this LAN. Loopback counts (127.0.0.0/8 from lo).
class LocalSubnets
{
public:
    struct Subnet
    {
        quint32 network = 0;
        quint32 mask = 0;
    };

    LocalSubnets() = default;
    explicit LocalSubnets(const QList<Subnet> &subnets) : m_subnets(subnets) {}
    // The IPv4 entries of every interface that is up.
    static LocalSubnets ofThisMachine();
    static LocalSubnets fromEntries(const QList<QNetworkAddressEntry> &entries);

    bool contains(quint32 address) const;
    bool isEmpty() const { return m_subnets.isEmpty(); }

private:
    QList<Subnet> m_subnets;
};
