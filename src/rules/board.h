#pragma once

#include "rules/cell.h"

#include <QObject>
#include <QString>

#include <array>
#include <optional>

// The nine point states of one screen's board (A1T .. C3T): plain texts, the only
// authority for the rules and for win detection. Views and rules observe stateChanged.
//
// Written notation (tests, benchmarks, logs): three rows top to bottom separated by '/',
// each row the columns A, B, C from the left. '.' empty, 'O' and 'X' pieces, 'o' and 'x'
// scored pieces ("O2", "X2"), '?' (toString only) a text that is none of the five.
// "O.X/.O./X.O" has O on A1, B2, C3 and X on C1, A3.
class Board : public QObject
{
    Q_OBJECT

public:
    using States = std::array<QString, Cell::Count>;

    explicit Board(QObject *parent = nullptr);
    explicit Board(const States &states, QObject *parent = nullptr);

    const QString &state(int index) const { return m_states[size_t(index)]; }
    // Any text is accepted; only a real change is announced.
    void setState(int index, const QString &text);
    const States &states() const { return m_states; }
    void setStates(const States &states);
    void clear();

    // An empty board when the text is not in the notation above.
    static Board fromString(QStringView text, QObject *parent = nullptr);
    static std::optional<States> parse(QStringView text);
    static QString format(const States &states);
    QString toString() const { return format(m_states); }

signals:
    void stateChanged(int index);

private:
    States m_states;
};
