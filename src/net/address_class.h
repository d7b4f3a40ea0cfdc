#pragma once

#include <QList>
#include <QString>
#include <QStringView>

// Whether an external IPv4 address that a router reports can be reached from the internet.
// A router's word alone is not enough: behind a provider's shared address (CGNAT) or a second
// router, its "external" address is just another private one.
enum class AddressClass {
    Public,
    Private,   // RFC 1918: a second router stands between this one and the internet
    Shared,    // 100.64.0.0/10: the provider shares one address among many customers
    Reserved,  // loopback, link-local, documentation, benchmarking, multicast, ...
};

struct Ipv4Net
{
    quint32 base = 0;
    int prefix = 0;
    bool contains(quint32 ipv4) const;
    // "a.b.c.d/n", strictly; false for anything else.
    static bool parse(QStringView text, Ipv4Net *net);
};

// `publicNets` are counted public before anything else (test labs put "the internet" in a
// benchmarking range).
AddressClass classifyAddress(quint32 ipv4, const QList<Ipv4Net> &publicNets = {});

// DORVALA_PUBLIC_NETS: comma-separated CIDR ranges; entries that do not parse are skipped.
QList<Ipv4Net> publicNetsFromEnvironment();
QList<Ipv4Net> parseNetList(QStringView text);
