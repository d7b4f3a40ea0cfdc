#include "demo_transcript.h"

#include "rules/cell.h"

#include <algorithm>

namespace {

struct Crossing
{
    qint64 sent = 0;
    QString from;
    QString to;
    QString message;
    qint64 arrived = -1;
    qint64 drawn = -1;
};

QString milliseconds(qint64 from, qint64 to)
{
    return QStringLiteral("+%1 ms").arg(double(to - from) / 1e6, 0, 'f', 1);
}

// Pairs each message `sender` sent with the next equal one `receiver` took in, in order.
QList<Crossing> crossings(const DemoTranscript::Side &sender, const DemoTranscript::Side &receiver)
{
    QList<const ControlEvent *> received;
    for (const ControlEvent &event : receiver.events) {
        if (event.kind == QLatin1String("received"))
            received << &event;
    }
    QList<Crossing> found;
    qsizetype next = 0;
    for (const ControlEvent &event : sender.events) {
        if (event.kind != QLatin1String("sent"))
            continue;
        Crossing crossing{event.t, sender.name, receiver.name, event.payload};
        for (qsizetype i = next; i < received.size(); ++i) {
            if (received[i]->payload == event.payload) {
                crossing.arrived = received[i]->t;
                next = i + 1;
                break;
            }
        }
        if (crossing.arrived >= 0 && Cell::indexOf(event.payload) >= 0) {
            const QString prefix = event.payload + u' ';
            for (const ControlEvent &drawn : receiver.events) {
                if (drawn.kind == QLatin1String("drawn") && drawn.t >= crossing.arrived
                    && drawn.payload.startsWith(prefix) && !drawn.payload.endsWith(u'-')) {
                    crossing.drawn = drawn.t;
                    break;
                }
            }
        }
        found << crossing;
    }
    return found;
}

} // namespace

QStringList DemoTranscript::lines(const Side &first, const Side &second)
{
    QList<Crossing> all = crossings(first, second) + crossings(second, first);
    if (all.isEmpty())
        return {QStringLiteral("(nothing crossed the wire)")};
    std::stable_sort(all.begin(), all.end(),
                     [](const Crossing &a, const Crossing &b) { return a.sent < b.sent; });
    const qint64 start = all.first().sent;
    const int nameWidth = int(qMax(first.name.size(), second.name.size()));
    QStringList out;
    out << QStringLiteral("  time (s)  %1  %2  %3  arrived     drawn there")
               .arg(QStringLiteral("from").leftJustified(nameWidth),
                    QStringLiteral("to").leftJustified(nameWidth),
                    QStringLiteral("message").leftJustified(24));
    for (const Crossing &c : std::as_const(all)) {
        QString line = QStringLiteral("  %1  %2  %3  %4  ")
                           .arg(double(c.sent - start) / 1e9, 8, 'f', 3)
                           .arg(c.from.leftJustified(nameWidth), c.to.leftJustified(nameWidth),
                                (u'"' + c.message + u'"').leftJustified(24));
        if (c.arrived < 0) {
            line += QStringLiteral("not on its own (glued to another message?)");
        } else {
            line += milliseconds(c.sent, c.arrived).leftJustified(10);
            if (c.drawn >= 0)
                line += QStringLiteral("  ") + milliseconds(c.sent, c.drawn);
        }
        out << line.trimmed().prepend(QStringLiteral("  "));
    }
    return out;
}
