#include "position.h"

#include "rules/cell_state.h"
#include "rules/win_rules.h"

#include <array>

namespace {

quint16 maskOf(std::initializer_list<int> cells)
{
    quint16 mask = 0;
    for (int cell : cells)
        mask |= quint16(1u << cell);
    return mask;
}

// The patterns as bit masks, made once from the rules' own tables.
struct Patterns
{
    quint16 plus = 0;
    std::array<quint16, 8> lines{};

    Patterns()
    {
        for (int cell : WinRules::plus())
            plus |= quint16(1u << cell);
        for (size_t i = 0; i < lines.size(); ++i) {
            const WinRules::Line &line = WinRules::lines()[i];
            lines[i] = maskOf({line[0], line[1], line[2]});
        }
    }
};

const Patterns &patterns()
{
    static const Patterns all;
    return all;
}

} // namespace

Position Position::fromStates(const Board::States &states, const QString &mark)
{
    Position position;
    for (int cell = 0; cell < Cell::Count; ++cell) {
        const QString &state = states[size_t(cell)];
        const quint16 bit = quint16(1u << cell);
        if (state.isEmpty())
            continue;
        if (state == mark)
            position.mine |= bit;
        else if (state == CellState::x() || state == CellState::o())
            position.theirs |= bit;
        else
            position.blocked |= bit;
    }
    return position;
}

int Position::scoreOf(quint16 own, int cell)
{
    const Patterns &all = patterns();
    own |= quint16(1u << cell);
    if ((own & all.plus) == all.plus)
        return 3;
    const quint16 bit = quint16(1u << cell);
    for (quint16 line : all.lines) {
        if ((line & bit) && (own & line) == line)
            return 1;
    }
    return 0;
}
