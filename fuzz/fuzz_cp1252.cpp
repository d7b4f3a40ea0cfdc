#include "fuzz_check.h"

#include "platform/cp1252.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // Any byte string survives decoding and encoding unchanged: a peer's text and a file's
    // bytes come back exactly as they were.
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const QString text = Cp1252::decode(bytes);
    FUZZ_CHECK(text.size() == bytes.size());
    FUZZ_CHECK(Cp1252::encode(text) == bytes);
    for (qsizetype i = 0; i < bytes.size(); ++i)
        FUZZ_CHECK(text.at(i).unicode() == Cp1252::toUnicode(uchar(bytes[i])));

    // The same bytes read as UTF-16 text: every character either survives encoding and
    // decoding or becomes one '?'; a surrogate pair is one character and one '?'.
    const qsizetype units = qsizetype(size / 2);
    QString wide(units, Qt::Uninitialized);
    for (qsizetype i = 0; i < units; ++i)
        wide[i] = QChar(char16_t(data[2 * i] | data[2 * i + 1] << 8));
    const QByteArray encoded = Cp1252::encode(wide);
    const QString back = Cp1252::decode(encoded);
    FUZZ_CHECK(encoded.size() <= wide.size());
    qsizetype j = 0;
    for (qsizetype i = 0; i < wide.size(); ++i, ++j) {
        FUZZ_CHECK(j < back.size());
        const char16_t unit = wide.at(i).unicode();
        const bool pair = QChar::isHighSurrogate(unit) && i + 1 < wide.size()
                          && wide.at(i + 1).isLowSurrogate();
        const bool representable = unit < 0x80 || Cp1252::fromUnicode(unit) != 0;
        if (representable) {
            FUZZ_CHECK(back.at(j) == wide.at(i));
        } else {
            FUZZ_CHECK(back.at(j) == u'?');
            if (pair)
                ++i;
        }
    }
    FUZZ_CHECK(j == back.size());
    return 0;
}
