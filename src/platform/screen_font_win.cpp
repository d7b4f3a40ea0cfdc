#include "screen_font.h"

#include <QApplication>
#include <QFontDatabase>
#include <QFontMetrics>

namespace {

// Windows' own interface fonts first, then those a Linux machine under Wine is likely to have.
const char *const Preferred[] = {"Segoe UI", "Tahoma", "DejaVu Sans", "Liberation Sans",
                                 "Noto Sans", "Arial", "Verdana"};

// Whether `font`'s family is installed (a family Windows only names has no styles), and the
// box Qt measures round a line of its text (from the font's Windows metrics) is about as tall
// as the line it lays out.
bool fits(const QFont &font)
{
    if (QFontDatabase::styles(font.family()).isEmpty())
        return false;
    const QFontMetrics metrics(font);
    return metrics.boundingRect(QStringLiteral("Ag 127.0.0.1")).height() <= metrics.height() * 5 / 4;
}

} // namespace

void ScreenFont::settle()
{
    const QFont system = QApplication::font();
    if (fits(system))
        return;
    QStringList families;
    for (const char *family : Preferred)
        families << QLatin1String(family);
    families += QFontDatabase::families(QFontDatabase::Latin);
    for (const QString &family : std::as_const(families)) {
        QFont font = system;
        font.setFamilies({family});
        if (fits(font)) {
            QApplication::setFont(font);
            return;
        }
    }
}
