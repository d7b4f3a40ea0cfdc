#include "fuzz_check.h"

#include "platform/cp1252.h"
#include "platform/rtf_document.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

namespace {

// What a document keeps of a text: its line ends, whatever their form, read back as "\n".
QString withNewlines(QString text)
{
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    text.replace(u'\r', u'\n');
    return text;
}

void checkRoundTrip(const QString &text)
{
    const QByteArray document = RtfDocument::write(text);
    // Seven-bit text: the document reads the same in any code page.
    for (const char c : document)
        FUZZ_CHECK(uchar(c) < 0x80);
    FUZZ_CHECK(RtfDocument::readText(document) == withNewlines(text));
}

} // namespace

// The first byte picks how the rest is read: 0 as arbitrary bytes for the reader, 1 as a
// cp1252 text to write and read back, 2 as a UTF-16 text to write and read back.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray rest(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));
    switch (data[0] % 3) {
    case 0: {
        // Any bytes: no failure, and never more characters than bytes (the reader is
        // linear, and a flood of groups or escapes cannot blow it up).
        const QString text = RtfDocument::readText(rest);
        FUZZ_CHECK(text.size() <= rest.size());
        checkRoundTrip(text);
        break;
    }
    case 1:
        checkRoundTrip(Cp1252::decode(rest));
        break;
    case 2: {
        QString text(rest.size() / 2, Qt::Uninitialized);
        for (qsizetype i = 0; i < text.size(); ++i)
            text[i] = QChar(char16_t(uchar(rest[2 * i]) | uchar(rest[2 * i + 1]) << 8));
        checkRoundTrip(text);
        break;
    }
    }
    return 0;
}
