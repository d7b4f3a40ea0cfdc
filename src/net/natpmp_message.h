#pragma once

#include <QByteArray>

#include <optional>

// The NAT-PMP datagrams (RFC 6886) that a host sends to its router and reads back. Plain
// encoding and strict decoding; a reply that is short, of another version or of an unexpected
// opcode decodes to nothing and is ignored, as the RFC asks.
namespace NatPmp {

constexpr quint16 ServerPort = 5351;
constexpr quint8 OpExternalAddress = 0;
constexpr quint8 OpMapUdp = 1;
constexpr quint8 OpMapTcp = 2;

enum Result : quint16 {
    Success = 0,
    UnsupportedVersion = 1,
    NotAuthorized = 2,  // the router refuses (mapping switched off, or this port)
    NetworkFailure = 3, // the router has no external address yet
    OutOfResources = 4,
    UnsupportedOpcode = 5,
};

struct Reply
{
    quint8 opcode = 0;  // the request's opcode, without the reply bit
    quint16 result = 0;
    quint32 epoch = 0;  // seconds since the router's mappings were reset
    quint32 externalAddress = 0;  // external-address replies
    quint16 internalPort = 0;     // mapping replies
    quint16 externalPort = 0;
    quint32 lifetime = 0;
};

QByteArray externalAddressRequest();
// Lifetime 0 with external port 0 removes the mapping.
QByteArray mappingRequest(quint8 opcode, quint16 internalPort, quint16 externalPort, quint32 lifetime);
// `expectedOpcode` is the request's; any other reply is not the answer to it.
std::optional<Reply> decodeReply(const QByteArray &datagram, quint8 expectedOpcode);

} // namespace NatPmp
