#include "cell.h"

const std::array<QString, Cell::Count> &Cell::names()
{
    static const std::array<QString, Count> all{
        QStringLiteral("A1"), QStringLiteral("A2"), QStringLiteral("A3"),
        QStringLiteral("B1"), QStringLiteral("B2"), QStringLiteral("B3"),
        QStringLiteral("C1"), QStringLiteral("C2"), QStringLiteral("C3")};
    return all;
}

QString Cell::name(int index)
{
    return index >= 0 && index < Count ? names()[size_t(index)] : QString();
}

int Cell::indexOf(QStringView name)
{
    const auto &all = names();
    for (int i = 0; i < Count; ++i) {
        if (name == all[size_t(i)])
            return i;
    }
    return -1;
}

QRect Cell::rect(int index)
{
    return {Origin.x() + Pitch * column(index), Origin.y() + Pitch * row(index), Size, Size};
}
