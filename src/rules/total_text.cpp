#include "total_text.h"

#include <QtNumeric>

#include <limits>

namespace TotalText {

std::optional<qint64> read(QStringView text)
{
    const QStringView trimmed = text.trimmed();
    QStringView digits = trimmed;
    if (digits.startsWith(u'+') || digits.startsWith(u'-'))
        digits = digits.mid(1);
    if (digits.isEmpty())
        return std::nullopt;
    for (QChar c : digits) {
        if (c < u'0' || c > u'9')
            return std::nullopt;
    }
    bool ok = false;
    const qint64 value = trimmed.toLongLong(&ok, 10);
    if (!ok)
        return std::nullopt;
    return value;
}

QString write(qint64 total)
{
    return QString::number(total);
}

QString add(QStringView text, qint64 delta)
{
    const qint64 total = read(text).value_or(0);
    qint64 sum = 0;
    if (qAddOverflow(total, delta, &sum))
        sum = delta > 0 ? std::numeric_limits<qint64>::max() : std::numeric_limits<qint64>::min();
    return write(sum);
}

} // namespace TotalText
