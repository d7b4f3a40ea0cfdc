#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

// The datagram a host sends on its LAN while its match screen is open, and the goodbye it
// sends when that screen closes. Fixed layout, network byte order:
//
//   0  "DRVL"       magic
//   4  2            version
//   5  kind         1 announce, 2 goodbye
//   6  match port   u16, never 0
//   8  probe port   u16, never 0
//  10  address      u32, the sender's own IPv4 address (must equal the datagram's source)
//  14  public       u32 address, u16 match port, u16 probe port: where the registry lists
//                   this host when its router maps its ports; all three 0 when it does not
//  22  name length  u8, at most MaxNameBytes
//  23  name         UTF-8, no control characters
//
// A player behind the same router as the host reaches it by its LAN address, not by the
// public one (routers seldom loop back): the public place tells which registry entry this
// host is.
// Nothing may follow the name: a datagram is either exactly this or dropped whole.
struct LanAnnouncement
{
    enum class Kind : quint8 { Announce = 1, Goodbye = 2 };

    static constexpr quint8 Version = 2;
    static constexpr int HeaderBytes = 23;
    static constexpr int MaxNameBytes = 48;
    static constexpr int MaxBytes = HeaderBytes + MaxNameBytes;
    // The UDP port every program listens on; DORVALA_LAN_PORT moves it (tests, labs), and
    // DORVALA_LAN_PORT=0 turns the LAN off: nothing is announced or heard (0 is returned).
    static constexpr quint16 DefaultPort = 41009;
    static quint16 port();

    Kind kind = Kind::Announce;
    quint16 matchPort = 0;
    quint16 probePort = 0;
    quint32 address = 0;
    quint32 publicAddress = 0;
    quint16 publicMatchPort = 0;
    quint16 publicProbePort = 0;
    QString name;

    // The name is cut to MaxNameBytes on a character boundary and its control characters
    // become spaces, so that every announcement this writes is one parse() accepts.
    QByteArray encode() const;
    // Strict: anything but a well-formed datagram of this version gives nothing.
    static std::optional<LanAnnouncement> parse(QByteArrayView datagram);
};
