#pragma once

#include <QString>

// The five texts a point can hold. Any other text is possible (a point is a plain string)
// but no rule writes one, and such a point keeps whatever picture it last showed.
class CellState
{
public:
    static QString empty() { return {}; }
    static QString x() { return QStringLiteral("X"); }
    static QString o() { return QStringLiteral("O"); }
    static QString x2() { return QStringLiteral("X2"); }
    static QString o2() { return QStringLiteral("O2"); }

    // "X" -> "X2", "O" -> "O2": the form a piece takes once its pattern has scored, so that
    // it no longer matches the plain mark and can never score twice.
    static QString scored(const QString &mark) { return mark + u'2'; }
    // The picture-store name bound to a state; empty for a text that is none of the five.
    static QString pictureName(const QString &state);
    static bool isKnown(const QString &state) { return !pictureName(state).isEmpty(); }
};
