#pragma once

#include <QByteArray>
#include <QString>

// Windows code page 1252, the wire encoding of the match protocol and the code page of the
// rich-text documents. Never fails: the five bytes the code page leaves undefined (0x81,
// 0x8D, 0x8F, 0x90, 0x9D) decode to the C1 control characters of the same value, as
// Windows does, so every byte string survives decode() then encode() unchanged; a
// character the code page cannot hold encodes to '?'.
class Cp1252
{
public:
    static QByteArray encode(const QString &text);
    static QString decode(const QByteArray &bytes);

    static char16_t toUnicode(uchar byte);
    // The byte for one UTF-16 unit, or 0 when the code page has none (NUL maps to 0 too;
    // callers that care test for it).
    static uchar fromUnicode(char16_t unit);
};
