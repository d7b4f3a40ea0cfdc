#include "settings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QMutex>
#include <QHostInfo>
#include <QNetworkInterface>
#include <QSet>
#include <QSettings>
#include <QStandardPaths>
#include <QUrl>

#include <cstdio>
#include <memory>

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

namespace {

const char *const Organisation = "Pobrek";
const char *const Application = "dorvala";

QString &commandLineRegistry()
{
    static QString url;  // null: not given
    return url;
}

std::unique_ptr<QSettings> openLayer(QSettings::Scope scope)
{
    auto settings = std::make_unique<QSettings>(QSettings::NativeFormat, scope,
                                                QLatin1String(Organisation),
                                                QLatin1String(Application));
    settings->setFallbacksEnabled(false);
    return settings;
}

QString placeOf(const QSettings &settings)
{
#ifdef Q_OS_WIN
    return QDir::toNativeSeparators(settings.fileName());
#else
    return settings.fileName();
#endif
}

// Problems are told once per run, however often the settings are read.
void tellOnce(const QStringList &problems)
{
    static QMutex mutex;
    static QSet<QString> told;
    const QMutexLocker lock(&mutex);
    for (const QString &problem : problems) {
        if (!told.contains(problem)) {
            told.insert(problem);
            std::fprintf(stderr, "dorvala: %s\n", qUtf8Printable(problem));
        }
    }
}

} // namespace

void Settings::setCommandLineRegistry(const QString &url)
{
    commandLineRegistry() = url.isNull() ? QStringLiteral("") : url;
}

GameSettings Settings::game()
{
    const auto user = openLayer(QSettings::UserScope);
    const auto system = openLayer(QSettings::SystemScope);
    const SettingsLayer userLayer(*user, QStringLiteral("berkas pengguna ") + placeOf(*user));
    const SettingsLayer systemLayer(*system, QStringLiteral("berkas sistem ") + placeOf(*system));
    GameSettings settings = GameSettings::resolve(commandLineRegistry(), env("DORVALA_FTP_URL"),
                                                  &userLayer, &systemLayer);
    const QString delay = env("DORVALA_COMPUTER_DELAY");
    bool ok = false;
    const int delayMs = delay.toInt(&ok);
    if (ok && delayMs >= 0 && delayMs <= SettingsLayer::MaxComputerDelayMs)
        settings.computerDelayMs = delayMs;
    else if (!delay.isEmpty())
        settings.problems << QStringLiteral("DORVALA_COMPUTER_DELAY diabaikan: harus angka 0 sampai %1.")
                                 .arg(SettingsLayer::MaxComputerDelayMs);
    tellOnce(settings.problems);
    return settings;
}

RegistryAddress Settings::registry()
{
    return game().registry;
}

QString Settings::playerName()
{
    return game().playerName;
}

bool Settings::soundEnabled()
{
    return game().soundEnabled;
}

bool Settings::mapPorts()
{
    return game().mapPorts;
}

int Settings::computerDelayMs()
{
    return game().computerDelayMs;
}

bool Settings::savePlayerChoices(const PlayerChoices &choices, QString *error)
{
    // A choice that only repeats what the system-wide file (or the default) gives is not
    // written: an administrator's later change still reaches this player.
    const auto system = openLayer(QSettings::SystemScope);
    const GameSettings below = GameSettings::resolve(
        QString(), QString(), nullptr, std::make_unique<SettingsLayer>(*system, QString()).get());
    const auto user = openLayer(QSettings::UserScope);
    const auto keep = [&user](const char *key, const QVariant &value, bool same) {
        if (same)
            user->remove(QLatin1String(key));
        else
            user->setValue(QLatin1String(key), value);
    };
    keep("registry/url", choices.registryUrl, choices.registryUrl == below.registry.url());
    keep("player/name", choices.playerName, choices.playerName == below.playerName);
    keep("sound/enabled", choices.soundEnabled, choices.soundEnabled == below.soundEnabled);
    keep("router/map_ports", choices.mapPorts, choices.mapPorts == below.mapPorts);
    user->sync();
    if (user->status() == QSettings::NoError)
        return true;
    *error = QStringLiteral("Pengaturan tidak dapat disimpan di %1.").arg(placeOf(*user));
    return false;
}

QString Settings::userSettingsPlace()
{
    return placeOf(*openLayer(QSettings::UserScope));
}

QString Settings::systemSettingsPlace()
{
    return placeOf(*openLayer(QSettings::SystemScope));
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
