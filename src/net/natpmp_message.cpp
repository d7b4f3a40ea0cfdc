#include "natpmp_message.h"

#include <QtEndian>

namespace NatPmp {

namespace {

constexpr quint8 Version = 0;
constexpr quint8 ReplyBit = 0x80;

quint16 read16(const QByteArray &data, int at)
{
    return qFromBigEndian<quint16>(data.constData() + at);
}

quint32 read32(const QByteArray &data, int at)
{
    return qFromBigEndian<quint32>(data.constData() + at);
}

} // namespace

QByteArray externalAddressRequest()
{
    return QByteArray("\0\0", 2);
}

QByteArray mappingRequest(quint8 opcode, quint16 internalPort, quint16 externalPort, quint32 lifetime)
{
    QByteArray data(12, '\0');
    data[0] = char(Version);
    data[1] = char(opcode);
    qToBigEndian<quint16>(internalPort, data.data() + 4);
    qToBigEndian<quint16>(externalPort, data.data() + 6);
    qToBigEndian<quint32>(lifetime, data.data() + 8);
    return data;
}

std::optional<Reply> decodeReply(const QByteArray &datagram, quint8 expectedOpcode)
{
    if (datagram.size() < 8 || quint8(datagram[0]) != Version
        || quint8(datagram[1]) != (expectedOpcode | ReplyBit))
        return std::nullopt;
    Reply reply;
    reply.opcode = expectedOpcode;
    reply.result = read16(datagram, 2);
    reply.epoch = read32(datagram, 4);
    // A refusal may come short (RFC 6886 3.5: only the first 8 bytes are certain); a
    // success must carry its whole body.
    if (expectedOpcode == OpExternalAddress) {
        if (datagram.size() >= 12)
            reply.externalAddress = read32(datagram, 8);
        else if (reply.result == Success)
            return std::nullopt;
    } else {
        if (datagram.size() >= 16) {
            reply.internalPort = read16(datagram, 8);
            reply.externalPort = read16(datagram, 10);
            reply.lifetime = read32(datagram, 12);
        } else if (reply.result == Success) {
            return std::nullopt;
        }
    }
    return reply;
}

} // namespace NatPmp
