#include "picture_store.h"

#include <QFile>
#include <QHash>

namespace {

QHash<QString, QPixmap> &store()
{
    static QHash<QString, QPixmap> pictures;
    return pictures;
}

QString resourcePath(const QString &name)
{
    for (const char *ext : {".gif", ".png"}) {
        const QString path = QStringLiteral(":/pictures/") + name + QLatin1String(ext);
        if (QFile::exists(path))
            return path;
    }
    return {};
}

} // namespace

QPixmap PictureStore::picture(const QString &name)
{
    auto &pictures = store();
    auto it = pictures.constFind(name);
    if (it == pictures.constEnd()) {
        const QString path = resourcePath(name);
        it = pictures.insert(name, path.isEmpty() ? QPixmap() : QPixmap(path));
    }
    return *it;
}

bool PictureStore::has(const QString &name)
{
    return !resourcePath(name).isEmpty();
}
