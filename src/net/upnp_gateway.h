#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

// The home router's UPnP-IGD side through libminiupnpc. Every call blocks (SSDP discovery,
// HTTP, SOAP) and so runs on a worker thread, never on the UI thread. One object per worker.
// Results are UPnP's own: 0 for success, the router's error code (718: the port is mapped
// already, 725: only permanent leases), or a negative number when the exchange itself failed
// (no answer, a reply that does not parse).
class UpnpGateway
{
public:
    static constexpr int ConflictInMappingEntry = 718;
    static constexpr int OnlyPermanentLeasesSupported = 725;
    // The router answered with an empty external address: it has none that it may give
    // (miniupnpd says so when its own is private or shared, as behind a provider's CGNAT).
    static constexpr int NoExternalAddress = -1000;

    // Built with libminiupnpc; without it (a Windows build without the static library) every
    // call fails at once and a host maps through NAT-PMP alone.
    static bool available();

    UpnpGateway();
    ~UpnpGateway();
    UpnpGateway(const UpnpGateway &) = delete;
    UpnpGateway &operator=(const UpnpGateway &) = delete;

    // SSDP on the network of `localAddress` (multicast: only ever from a real LAN or a lab's
    // namespace, never from loopback): the first gateway to answer within `waitMs`.
    bool discover(const QByteArray &localAddress, int waitMs);
    // A router whose description is known (labs and tests skip the discovery).
    bool openDescription(const QByteArray &url);
    bool isOpen() const;

    // 0 and the address, or an error.
    int externalAddress(quint32 *ipv4);
    // TCP, from the router's `externalPort` to `client`:`internalPort`; lease 0: permanent.
    int addMapping(quint16 externalPort, quint16 internalPort, const QByteArray &client,
                   quint32 leaseSeconds);
    int deleteMapping(quint16 externalPort);
    // Who the router sends `externalPort` to; false when nobody (or the router will not say).
    bool mappingHolder(quint16 externalPort, QByteArray *client, quint16 *internalPort);

private:
    struct Data;
    std::unique_ptr<Data> d;
};
