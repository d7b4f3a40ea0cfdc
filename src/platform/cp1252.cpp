#include "cp1252.h"

namespace {

// Only 0x80..0x9F differ from Latin-1.
constexpr char16_t high[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

constexpr auto makeTable()
{
    struct T { char16_t v[256]; } t{};
    for (int i = 0; i < 256; ++i)
        t.v[i] = i >= 0x80 && i < 0xA0 ? high[i - 0x80] : char16_t(i);
    return t;
}

constexpr auto decodeTable = makeTable();

} // namespace

char16_t Cp1252::toUnicode(uchar byte)
{
    return decodeTable.v[byte];
}

uchar Cp1252::fromUnicode(char16_t unit)
{
    if (unit < 0x80 || (unit >= 0xA0 && unit < 0x100))
        return uchar(unit);
    for (int i = 0; i < 32; ++i) {
        if (high[i] == unit)
            return uchar(0x80 + i);
    }
    return 0;
}

QByteArray Cp1252::encode(const QString &text)
{
    QByteArray out(text.size(), Qt::Uninitialized);
    char *dst = out.data();
    const char16_t *src = reinterpret_cast<const char16_t *>(text.utf16());
    const char16_t *end = src + text.size();
    while (src < end) {
        const char16_t unit = *src++;
        if (unit < 0x80) {
            *dst++ = char(unit);
            continue;
        }
        const uchar byte = fromUnicode(unit);
        *dst++ = byte ? char(byte) : '?';
        // A character beyond the BMP is one character: one '?', not two.
        if (QChar::isHighSurrogate(unit) && src < end && QChar::isLowSurrogate(*src))
            ++src;
    }
    out.truncate(dst - out.constData());
    return out;
}

QString Cp1252::decode(const QByteArray &bytes)
{
    QString out(bytes.size(), Qt::Uninitialized);
    char16_t *dst = reinterpret_cast<char16_t *>(out.data());
    for (const char c : bytes)
        *dst++ = decodeTable.v[uchar(c)];
    return out;
}
