#include "address_class.h"

#include "net/host_address.h"

namespace {

struct Range
{
    quint32 base;
    int prefix;
    AddressClass kind;
};

constexpr quint32 ip(quint32 a, quint32 b, quint32 c, quint32 d)
{
    return (a << 24) | (b << 16) | (c << 8) | d;
}

// The IANA special-purpose registry's ranges that are not reachable on the internet.
constexpr Range Special[] = {
    {ip(10, 0, 0, 0), 8, AddressClass::Private},
    {ip(172, 16, 0, 0), 12, AddressClass::Private},
    {ip(192, 168, 0, 0), 16, AddressClass::Private},
    {ip(100, 64, 0, 0), 10, AddressClass::Shared},
    {ip(0, 0, 0, 0), 8, AddressClass::Reserved},
    {ip(127, 0, 0, 0), 8, AddressClass::Reserved},
    {ip(169, 254, 0, 0), 16, AddressClass::Reserved},
    {ip(192, 0, 0, 0), 24, AddressClass::Reserved},
    {ip(192, 0, 2, 0), 24, AddressClass::Reserved},
    {ip(192, 88, 99, 0), 24, AddressClass::Reserved},
    {ip(198, 18, 0, 0), 15, AddressClass::Reserved},
    {ip(198, 51, 100, 0), 24, AddressClass::Reserved},
    {ip(203, 0, 113, 0), 24, AddressClass::Reserved},
    {ip(224, 0, 0, 0), 4, AddressClass::Reserved},
    {ip(240, 0, 0, 0), 4, AddressClass::Reserved},
};

quint32 mask(int prefix)
{
    return prefix == 0 ? 0 : ~quint32(0) << (32 - prefix);
}

} // namespace

bool Ipv4Net::contains(quint32 ipv4) const
{
    return (ipv4 & mask(prefix)) == (base & mask(prefix));
}

bool Ipv4Net::parse(QStringView text, Ipv4Net *net)
{
    const qsizetype slash = text.indexOf(u'/');
    if (slash < 0)
        return false;
    quint32 base = 0;
    const QStringView bits = text.mid(slash + 1);
    if (!HostAddress::parseIpv4(text.left(slash), &base) || bits.isEmpty() || bits.size() > 2)
        return false;
    bool ok = false;
    const int prefix = bits.toInt(&ok);
    if (!ok || prefix < 0 || prefix > 32 || bits.front() == u'+' || bits.front() == u'-')
        return false;
    net->base = base & mask(prefix);
    net->prefix = prefix;
    return true;
}

AddressClass classifyAddress(quint32 ipv4, const QList<Ipv4Net> &publicNets)
{
    for (const Ipv4Net &net : publicNets) {
        if (net.contains(ipv4))
            return AddressClass::Public;
    }
    for (const Range &range : Special) {
        if (Ipv4Net{range.base, range.prefix}.contains(ipv4))
            return range.kind;
    }
    return AddressClass::Public;
}

QList<Ipv4Net> parseNetList(QStringView text)
{
    QList<Ipv4Net> nets;
    for (QStringView item : text.tokenize(u',', Qt::SkipEmptyParts)) {
        Ipv4Net net;
        if (nets.size() < 64 && Ipv4Net::parse(item.trimmed(), &net))
            nets.append(net);
    }
    return nets;
}

QList<Ipv4Net> publicNetsFromEnvironment()
{
    return parseNetList(qEnvironmentVariable("DORVALA_PUBLIC_NETS"));
}
