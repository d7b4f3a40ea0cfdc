#include "control_event.h"

#include <QStringList>

#include <chrono>

#ifdef Q_OS_UNIX
#include <time.h>
#endif

namespace {

const QStringList &kinds()
{
    static const QStringList known{
        QStringLiteral("screen"), QStringLiteral("gone"),    QStringLiteral("drawn"),
        QStringLiteral("sent"),   QStringLiteral("received"), QStringLiteral("verdict"),
        QStringLiteral("cue"),    QStringLiteral("box")};
    return known;
}

} // namespace

QString ControlEvent::format() const
{
    return kind + u' ' + payload + u' ' + QString::number(t);
}

std::optional<ControlEvent> ControlEvent::parse(QStringView line)
{
    const qsizetype first = line.indexOf(u' ');
    const qsizetype last = line.lastIndexOf(u' ');
    if (first <= 0 || last < first)
        return std::nullopt;
    ControlEvent event;
    event.kind = line.left(first).toString();
    if (!kinds().contains(event.kind))
        return std::nullopt;
    bool ok = false;
    event.t = line.mid(last + 1).toLongLong(&ok);
    if (!ok)
        return std::nullopt;
    event.payload = last > first ? line.mid(first + 1, last - first - 1).toString() : QString();
    return event;
}

QString ControlEvent::escape(QStringView text, int limit)
{
    QString out;
    out.reserve(qMin<qsizetype>(text.size(), limit) + 8);
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (i == limit) {
            out += QStringLiteral("...");
            break;
        }
        const QChar c = text[i];
        switch (c.unicode()) {
        case '\\': out += QStringLiteral("\\\\"); break;
        case '\n': out += QStringLiteral("\\n"); break;
        case '\r': out += QStringLiteral("\\r"); break;
        case '\t': out += QStringLiteral("\\t"); break;
        default:
            if (c.unicode() < 0x20 || c.unicode() == 0x7f)
                out += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
            else
                out += c;
        }
    }
    return out;
}

QString ControlEvent::unescape(QStringView text)
{
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != u'\\' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        const QChar next = text[++i];
        if (next == u'n') {
            out += u'\n';
        } else if (next == u'r') {
            out += u'\r';
        } else if (next == u't') {
            out += u'\t';
        } else if (next == u'x' && i + 2 < text.size()) {
            bool ok = false;
            const int code = text.mid(i + 1, 2).toInt(&ok, 16);
            out += ok ? QChar(code) : u'x';
            if (ok)
                i += 2;
        } else {
            out += next;
        }
    }
    return out;
}

qint64 ControlEvent::now()
{
#ifdef Q_OS_UNIX
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return qint64(ts.tv_sec) * 1'000'000'000 + ts.tv_nsec;
#else
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
#endif
}
