#include "settings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QMutex>
#include <QHostInfo>
#include <QNetworkInterface>
#include <QStandardPaths>
#include <QUrl>

namespace {

QString env(const char *name)
{
    return qEnvironmentVariable(name);
}

} // namespace

QString Settings::driveC()
{
    QString folder = env("DORVALA_DRIVE_C");
    if (folder.isEmpty()) {
#ifdef Q_OS_WIN
        folder = writableOrUserFolder(QStringLiteral("C:/"));
#else
        folder = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)
                 + QStringLiteral("/C");
#endif
    }
    QDir().mkpath(folder);
    return QDir::cleanPath(folder);
}

QString Settings::writableOrUserFolder(const QString &root)
{
    static QMutex mutex;
    static QHash<QString, bool> writable;
    const QMutexLocker lock(&mutex);
    auto known = writable.constFind(root);
    if (known == writable.constEnd()) {
        // Only a real file tells: folder permissions say little on Windows (C:\ lets users
        // make folders but not files, and virtualisation may fake either).
        QFile probe(QDir(root).filePath(QStringLiteral("dorvala-probe-%1.tmp")
                                            .arg(QCoreApplication::applicationPid())));
        const bool ok = probe.open(QIODevice::NewOnly | QIODevice::WriteOnly) && probe.remove();
        known = writable.insert(root, ok);
    }
    if (*known)
        return root;
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation)
           + QStringLiteral("/C");
}

QString Settings::cFile(const QString &programPath)
{
    QString name = programPath;
    if (name.startsWith(QLatin1String("C:/"), Qt::CaseInsensitive)
        || name.startsWith(QLatin1String("C:\\"), Qt::CaseInsensitive))
        name = name.mid(3);
    for (QChar &c : name) {
        if (c == u'/' || c == u'\\' || c == u':' || c.unicode() < 0x20)
            c = u'_';
    }
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String(".."))
        name.replace(u'.', u'_').append(u'_');
    return driveC() + u'/' + name;
}

quint16 Settings::port(const char *variable, quint16 fallback)
{
    bool ok = false;
    const uint value = env(variable).toUInt(&ok);
    return ok && value > 0 && value < 65536 ? quint16(value) : fallback;
}

quint16 Settings::matchPort()
{
    return port("DORVALA_MATCH_PORT", 1009);
}

quint16 Settings::probePort()
{
    return port("DORVALA_PROBE_PORT", 79);
}

QString Settings::localIp()
{
    const QString forced = env("DORVALA_LOCAL_IP");
    if (!forced.isEmpty())
        return forced;
    for (const QHostAddress &address : QNetworkInterface::allAddresses()) {
        if (address.protocol() == QAbstractSocket::IPv4Protocol && !address.isLoopback())
            return address.toString();
    }
    return QStringLiteral("127.0.0.1");
}

QString Settings::localHostName()
{
    return QHostInfo::localHostName();
}

QString Settings::ftpUrl()
{
    const QString url = env("DORVALA_FTP_URL");
    return url.isEmpty() ? QStringLiteral("ftp://dorvala@127.0.0.1:2121/") : url;
}

QString Settings::makerUrl()
{
    const QString url = env("DORVALA_MAKER_URL");
    if (!url.isEmpty())
        return url;
    return QUrl::fromLocalFile(programFolder() + QStringLiteral("/maker/index.html")).toString();
}

QString Settings::programFolder()
{
    QString folder = QCoreApplication::applicationDirPath();
    while (folder.size() > 1 && (folder.endsWith(u'/') || folder.endsWith(u'\\')))
        folder.chop(1);
    return folder;
}

bool Settings::mapPorts()
{
    return env("DORVALA_MAP_PORTS").trimmed() != QLatin1String("0");
}
