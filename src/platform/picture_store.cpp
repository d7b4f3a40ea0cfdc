#include "picture_store.h"

#include <QFile>
#include <QHash>
#include <QImage>

namespace {

QHash<QString, QPixmap> &store()
{
    static QHash<QString, QPixmap> pictures;
    return pictures;
}

QString resourcePath(const QString &name)
{
    for (const char *ext : {".gif", ".png", ".jpg"}) {
        const QString path = QStringLiteral(":/pictures/") + name + QLatin1String(ext);
        if (QFile::exists(path))
            return path;
    }
    return {};
}

// Pieces, buttons and decorations are shown again and again by every screen and are kept.
// A screen's background is decoded for that screen alone and goes with it: kept, the
// title's two paintings and the setup screen's would hold 3 MB for the whole match.
constexpr int KeptPixels = 256 * 256;

} // namespace

QPixmap PictureStore::picture(const QString &name)
{
    auto &pictures = store();
    auto it = pictures.constFind(name);
    if (it != pictures.constEnd())
        return *it;
    const QString path = resourcePath(name);
    // Decoded through QImage: QPixmap's own loading would also keep every picture in Qt's
    // pixmap cache (up to 10 MB), backgrounds of screens long gone included.
    const QPixmap decoded = path.isEmpty() ? QPixmap() : QPixmap::fromImage(QImage(path));
    if (decoded.width() * decoded.height() <= KeptPixels)
        pictures.insert(name, decoded);
    return decoded;
}

bool PictureStore::has(const QString &name)
{
    return !resourcePath(name).isEmpty();
}
