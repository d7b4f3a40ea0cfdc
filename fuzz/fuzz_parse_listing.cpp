#include "fuzz_check.h"

#include "lobby/parse_listing.h"
#include "platform/cp1252.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdint>

namespace {

bool onlyBlanks(const QString &line)
{
    for (const QChar c : line) {
        if (c != u' ')
            return false;
    }
    return true;
}

// The listing rules taken literally, one character at a time: the parser proper takes
// characters in runs for speed and must give exactly the same lines.
QStringList referenceLines(const QString &response)
{
    QStringList lines;
    QString line;
    for (const QChar c : response) {
        if (c == u'\r') {
            if (!onlyBlanks(line)) {
                if (line.size() <= 255)  // no file name is longer
                    lines.append(line);
                line.clear();
            }
        } else if (c != u'\n') {
            line.append(c);
        }
    }
    return lines;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString response =
        Cp1252::decode(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    const QStringList lines = ParseListing(response);
    FUZZ_CHECK(lines == referenceLines(response));

    qsizetype kept = 0;
    for (const QString &line : lines) {
        FUZZ_CHECK(!line.contains(u'\r') && !line.contains(u'\n'));
        FUZZ_CHECK(!onlyBlanks(line) && line.size() <= 255);
        kept += line.size();
    }
    FUZZ_CHECK(lines.size() <= response.count(u'\r'));
    FUZZ_CHECK(kept <= response.size() - response.count(u'\r') - response.count(u'\n'));

    // A response cut right after a carriage return loses nothing that it had taken before.
    const qsizetype cut = response.lastIndexOf(u'\r');
    if (cut >= 0)
        FUZZ_CHECK(ParseListing(response.left(cut + 1)) == lines);
    return 0;
}
