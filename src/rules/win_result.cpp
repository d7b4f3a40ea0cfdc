#include "win_result.h"

QString WinResult::caption(const QString &opponentName) const
{
    if (local)
        return isPlus() ? QStringLiteral("Anda Menang! Bonus!! +Triple Score")
                        : QStringLiteral("Anda Menang!");
    return isPlus() ? opponentName + QStringLiteral(" Melakukan +Triple Score")
                    : QStringLiteral("Anda Kalah!");
}
