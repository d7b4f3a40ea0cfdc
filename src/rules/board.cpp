#include "board.h"

#include "rules/cell_state.h"

namespace {

std::optional<QString> stateOf(QChar c)
{
    switch (c.unicode()) {
    case u'.': return CellState::empty();
    case u'X': return CellState::x();
    case u'O': return CellState::o();
    case u'x': return CellState::x2();
    case u'o': return CellState::o2();
    default: return std::nullopt;
    }
}

QChar letterOf(const QString &state)
{
    if (state.isEmpty())
        return u'.';
    if (state == CellState::x())
        return u'X';
    if (state == CellState::o())
        return u'O';
    if (state == CellState::x2())
        return u'x';
    if (state == CellState::o2())
        return u'o';
    return u'?';
}

} // namespace

Board::Board(QObject *parent)
    : QObject(parent)
{
}

Board::Board(const States &states, QObject *parent)
    : QObject(parent)
    , m_states(states)
{
}

void Board::setState(int index, const QString &text)
{
    Q_ASSERT(index >= 0 && index < Cell::Count);
    QString &slot = m_states[size_t(index)];
    if (slot == text)
        return;
    slot = text;
    emit stateChanged(index);
}

void Board::setStates(const States &states)
{
    for (int i = 0; i < Cell::Count; ++i)
        setState(i, states[size_t(i)]);
}

void Board::clear()
{
    for (int i = 0; i < Cell::Count; ++i)
        setState(i, CellState::empty());
}

Board Board::fromString(QStringView text, QObject *parent)
{
    const std::optional<States> states = parse(text);
    if (!states)
        qWarning("Board::fromString: not a board: %s", qPrintable(text.toString()));
    return Board(states.value_or(States{}), parent);
}

std::optional<Board::States> Board::parse(QStringView text)
{
    const QList<QStringView> rows = text.split(u'/');
    if (rows.size() != 3)
        return std::nullopt;
    States states;
    for (int row = 0; row < 3; ++row) {
        if (rows[row].size() != 3)
            return std::nullopt;
        for (int column = 0; column < 3; ++column) {
            const std::optional<QString> state = stateOf(rows[row][column]);
            if (!state)
                return std::nullopt;
            states[size_t(Cell::at(column, row))] = *state;
        }
    }
    return states;
}

QString Board::format(const States &states)
{
    QString text;
    for (int row = 0; row < 3; ++row) {
        if (row > 0)
            text += u'/';
        for (int column = 0; column < 3; ++column)
            text += letterOf(states[size_t(Cell::at(column, row))]);
    }
    return text;
}
