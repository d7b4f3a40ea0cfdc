#include "parse_listing.h"

namespace {

// No file system holds a longer file name, so no registry entry can be longer: a longer
// line comes from a broken or hostile server and would only weigh on the host list.
constexpr qsizetype LongestName = 255;

// Only the blank (space) counts: a tab or any other character makes a line worth taking.
bool onlyBlanks(QStringView line)
{
    for (const QChar c : line) {
        if (c != u' ')
            return false;
    }
    return true;
}

} // namespace

QStringList ParseListing(const QString &response)
{
    QStringList lines;
    QString line;
    const QStringView text(response);
    // Characters are taken in runs between line ends rather than one by one: a listing
    // of thousands of hosts is parsed on the UI thread.
    qsizetype run = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c != u'\r' && c != u'\n')
            continue;
        line.append(text.mid(run, i - run));
        run = i + 1;
        if (c == u'\r' && !onlyBlanks(line)) {
            if (line.size() <= LongestName)
                lines.append(line);
            line.clear();
        }
    }
    return lines;
}
