#include "computer_level.h"

#include <array>

namespace ComputerLevels {

namespace {
constexpr std::array<ComputerLevel, 3> All{ComputerLevel::Mudah, ComputerLevel::Sedang,
                                           ComputerLevel::Sempurna};
}

std::optional<ComputerLevel> fromName(QStringView name)
{
    for (ComputerLevel level : All) {
        if (name.compare(ComputerLevels::name(level), Qt::CaseInsensitive) == 0)
            return level;
    }
    return std::nullopt;
}

QString name(ComputerLevel level)
{
    switch (level) {
    case ComputerLevel::Mudah: return QStringLiteral("mudah");
    case ComputerLevel::Sedang: return QStringLiteral("sedang");
    case ComputerLevel::Sempurna: return QStringLiteral("sempurna");
    }
    return {};
}

QString title(ComputerLevel level)
{
    QString text = name(level);
    text[0] = text[0].toUpper();
    return text;
}

} // namespace ComputerLevels
