#include "picture_store.h"

#include <QFile>
#include <QHash>
#include <QImage>

#include <future>
#include <optional>

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

struct Ahead
{
    QString name;
    std::future<QImage> image;
};

// At most one picture decoded ahead at a time; never taken, it is dropped at the end.
std::optional<Ahead> &ahead()
{
    static std::optional<Ahead> decoding;
    return decoding;
}

// Decoded through QImage: QPixmap's own loading would also keep every picture in Qt's
// pixmap cache (up to 10 MB), backgrounds of screens long gone included.
QImage decode(const QString &path)
{
    return path.isEmpty() ? QImage() : QImage(path);
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
    std::optional<Ahead> &early = ahead();
    QImage image;
    if (early && early->name == name) {
        image = early->image.get();
        early.reset();
    } else {
        image = decode(resourcePath(name));
    }
    const QPixmap decoded = QPixmap::fromImage(std::move(image));
    if (decoded.width() * decoded.height() <= KeptPixels)
        pictures.insert(name, decoded);
    return decoded;
}

void PictureStore::decodeAhead(const QString &name)
{
    std::optional<Ahead> &early = ahead();
    if (early || store().contains(name))
        return;
    early = Ahead{name, std::async(std::launch::async, decode, resourcePath(name))};
}

bool PictureStore::has(const QString &name)
{
    return !resourcePath(name).isEmpty();
}
