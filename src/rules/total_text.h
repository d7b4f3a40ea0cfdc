#pragma once

#include <QString>
#include <QStringView>

#include <optional>

// Totals are kept as text (the score box, the opponent's label, the wire) and turned into
// numbers only to add to them.
namespace TotalText {

// A whole number: optional blanks around it, an optional sign, decimal digits, within
// 64 bits. Anything else (empty, "sepuluh", "2.5", a 30-digit number) is not a total.
std::optional<qint64> read(QStringView text);
// Plain decimal digits with a leading minus when negative.
QString write(qint64 total);
// read + delta, written back. Text that is not a total counts as 0, so an opponent's
// label left empty by a bare "$" becomes "3" after a plus; the sum saturates instead of
// wrapping around.
QString add(QStringView text, qint64 delta);

} // namespace TotalText
