#include "parse_listing.h"

namespace {

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
            lines.append(line);
            line.clear();
        }
    }
    return lines;
}
