#include "lan_announcement.h"

#include <QList>
#include <QStringDecoder>
#include <QtEndian>

#include <cstring>

namespace {

constexpr char Magic[4] = {'D', 'R', 'V', 'L'};

bool isControl(char32_t c)
{
    return c < 0x20 || (c >= 0x7f && c < 0xa0) || c == 0x2028 || c == 0x2029;
}

// The longest prefix of `name` that fits in `limit` UTF-8 bytes without splitting a
// character (a surrogate pair counts as one).
QByteArray cutUtf8(const QString &name, int limit)
{
    QByteArray out;
    for (qsizetype i = 0; i < name.size();) {
        const qsizetype step = (name.at(i).isHighSurrogate() && i + 1 < name.size()) ? 2 : 1;
        const QByteArray piece = name.mid(i, step).toUtf8();
        if (out.size() + piece.size() > limit)
            break;
        out += piece;
        i += step;
    }
    return out;
}

} // namespace

quint16 LanAnnouncement::port()
{
    bool ok = false;
    const uint value = qEnvironmentVariable("DORVALA_LAN_PORT").toUInt(&ok);
    return ok && value <= 0xffff ? quint16(value) : DefaultPort;
}

QByteArray LanAnnouncement::encode() const
{
    QString clean = name;
    for (QChar &c : clean) {
        if (!c.isSurrogate() && isControl(c.unicode()))
            c = u' ';
    }
    const QByteArray nameBytes = cutUtf8(clean, MaxNameBytes);

    QByteArray out(HeaderBytes, '\0');
    char *p = out.data();
    std::memcpy(p, Magic, 4);
    p[4] = char(Version);
    p[5] = char(kind);
    qToBigEndian(matchPort, p + 6);
    qToBigEndian(probePort, p + 8);
    qToBigEndian(address, p + 10);
    // A public place is whole or absent.
    const bool listed = publicAddress != 0 && publicMatchPort != 0 && publicProbePort != 0;
    qToBigEndian(listed ? publicAddress : 0, p + 14);
    qToBigEndian(listed ? publicMatchPort : quint16(0), p + 18);
    qToBigEndian(listed ? publicProbePort : quint16(0), p + 20);
    p[22] = char(nameBytes.size());
    return out + nameBytes;
}

std::optional<LanAnnouncement> LanAnnouncement::parse(QByteArrayView datagram)
{
    if (datagram.size() < HeaderBytes || datagram.size() > MaxBytes)
        return std::nullopt;
    const char *p = datagram.data();
    if (std::memcmp(p, Magic, 4) != 0 || quint8(p[4]) != Version)
        return std::nullopt;
    const quint8 kind = quint8(p[5]);
    if (kind != quint8(Kind::Announce) && kind != quint8(Kind::Goodbye))
        return std::nullopt;
    const int nameBytes = quint8(p[22]);
    if (nameBytes > MaxNameBytes || datagram.size() != HeaderBytes + nameBytes)
        return std::nullopt;

    LanAnnouncement a;
    a.kind = Kind(kind);
    a.matchPort = qFromBigEndian<quint16>(p + 6);
    a.probePort = qFromBigEndian<quint16>(p + 8);
    a.address = qFromBigEndian<quint32>(p + 10);
    if (a.matchPort == 0 || a.probePort == 0 || a.address == 0)
        return std::nullopt;
    a.publicAddress = qFromBigEndian<quint32>(p + 14);
    a.publicMatchPort = qFromBigEndian<quint16>(p + 18);
    a.publicProbePort = qFromBigEndian<quint16>(p + 20);
    const int publicParts = (a.publicAddress != 0) + (a.publicMatchPort != 0) + (a.publicProbePort != 0);
    if (publicParts != 0 && publicParts != 3)
        return std::nullopt;

    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    a.name = utf8(datagram.sliced(HeaderBytes));
    if (utf8.hasError())
        return std::nullopt;
    for (const char32_t c : a.name.toUcs4()) {
        // A byte-order mark is no part of a name, wherever it stands.
        if (isControl(c) || c == 0xfeff)
            return std::nullopt;
    }
    return a;
}
