#include "fuzz_check.h"

#include "net/lan_announcement.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

// Whatever a LAN sends: the parser either refuses it or returns an announcement that writes
// back to exactly the same bytes (one datagram, one meaning), within the bounds.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray datagram(reinterpret_cast<const char *>(data), qsizetype(size));
    const auto a = LanAnnouncement::parse(datagram);
    if (!a) {
        // The writer never makes what the reader refuses, whatever the name.
        LanAnnouncement mine;
        mine.matchPort = 1009;
        mine.probePort = 79;
        mine.address = 0xc6120002;
        mine.name = QString::fromUtf8(datagram);
        FUZZ_CHECK(LanAnnouncement::parse(mine.encode()).has_value());
        return 0;
    }
    FUZZ_CHECK(size >= size_t(LanAnnouncement::HeaderBytes) && size <= size_t(LanAnnouncement::MaxBytes));
    FUZZ_CHECK(a->matchPort != 0 && a->probePort != 0 && a->address != 0);
    FUZZ_CHECK(a->kind == LanAnnouncement::Kind::Announce || a->kind == LanAnnouncement::Kind::Goodbye);
    FUZZ_CHECK(a->name.toUtf8().size() <= LanAnnouncement::MaxNameBytes);
    for (const QChar c : a->name)
        FUZZ_CHECK(c.unicode() >= 0x20 && c != QChar(0x7f) && c != QChar::ByteOrderMark);
    FUZZ_CHECK(a->encode() == datagram);
    return 0;
}
