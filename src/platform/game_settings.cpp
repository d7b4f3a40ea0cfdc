#include "game_settings.h"

#include <QFile>
#include <QMetaType>
#include <QSettings>
#include <QUrl>

#include <algorithm>

const char *const RegistryAddress::DefaultAccount = "dorvala";
const char *const RegistryAddress::DefaultPassword = "418526";

namespace {

bool isHostNameChar(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9')
           || c == u'-' || c == u'.';
}

// The user part of a URL, decoded: account and optional password.
void readUserInfo(const QString &userInfo, RegistryAddress *address)
{
    const qsizetype colon = userInfo.indexOf(u':');
    const QString account = userInfo.left(colon);
    if (!account.isEmpty())
        address->account = QUrl::fromPercentEncoding(account.toUtf8());
    if (colon >= 0)
        address->password = QUrl::fromPercentEncoding(userInfo.mid(colon + 1).toUtf8());
}

// QSettings reads what it can of any file. A file with a line that is neither a comment, a
// [section] nor a key=value (or with NUL bytes: a binary file) is not taken for settings.
bool looksLikeIni(const QString &fileName)
{
    QFile file(fileName);
    if (!file.exists() || !file.open(QIODevice::ReadOnly))
        return true;  // nothing there, or the registry on Windows: QSettings says the rest
    const QByteArray text = file.read(256 * 1024);
    if (text.contains('\0'))
        return false;
    for (QByteArray line : text.split('\n')) {
        line = line.trimmed();
        if (line.isEmpty() || line.startsWith('#') || line.startsWith(';') || line.contains('='))
            continue;
        if (!(line.startsWith('[') && line.endsWith(']')))
            return false;
    }
    return true;
}

} // namespace

bool RegistryAddress::isValidHost(const QString &host)
{
    if (host.startsWith(u'[') && host.endsWith(u']')) {
        // An IPv6 address: hex digits, colons and a dotted tail; the connect tells the rest.
        const QString inner = host.mid(1, host.size() - 2);
        return inner.contains(u':') && inner.size() <= 45
               && std::all_of(inner.cbegin(), inner.cend(), [](QChar c) {
                      return c.isDigit() || (c.toLower() >= u'a' && c.toLower() <= u'f') || c == u':'
                             || c == u'.';
                  });
    }
    if (host.isEmpty() || host.size() > 253 || host.startsWith(u'.') || host.startsWith(u'-'))
        return false;
    for (QChar c : host) {
        if (!isHostNameChar(c))
            return false;
    }
    return true;
}

QString RegistryAddress::url() const
{
    if (!isSet())
        return QString();
    QString text = QStringLiteral("ftp://") + QString::fromUtf8(QUrl::toPercentEncoding(account));
    if (password != QLatin1String(DefaultPassword))
        text += u':' + QString::fromUtf8(QUrl::toPercentEncoding(password));
    text += u'@' + host;
    if (port != DefaultPort)
        text += u':' + QString::number(port);
    return text + u'/';
}

RegistryAddress RegistryAddress::parse(const QString &url, QString *problem)
{
    const auto refuse = [problem](const QString &why) {
        *problem = why;
        return RegistryAddress{};
    };
    problem->clear();
    const QString text = url.trimmed();
    const QLatin1String scheme("ftp://");
    if (!text.startsWith(scheme, Qt::CaseInsensitive))
        return refuse(QStringLiteral("\"%1\" bukan alamat ftp://").arg(text.left(80)));
    QString rest = text.mid(scheme.size());
    const qsizetype slash = rest.indexOf(u'/');
    if (slash >= 0)
        rest.truncate(slash);  // the account's own folder is always used: no path is entered
    RegistryAddress address;
    const qsizetype at = rest.lastIndexOf(u'@');
    if (at >= 0) {
        readUserInfo(rest.left(at), &address);
        rest = rest.mid(at + 1);
    }
    QString host = rest;
    const qsizetype colon = rest.lastIndexOf(u':');
    if (colon >= 0 && !rest.endsWith(u']')) {
        host = rest.left(colon);
        bool ok = false;
        const uint port = rest.mid(colon + 1).toUInt(&ok);
        if (!ok || port == 0 || port > 65535)
            return refuse(QStringLiteral("port \"%1\" tidak sah (harus 1 sampai 65535)")
                              .arg(rest.mid(colon + 1).left(20)));
        address.port = quint16(port);
    }
    if (!isValidHost(host))
        return refuse(QStringLiteral("nama server \"%1\" tidak sah").arg(host.left(80)));
    address.host = host;
    return address;
}

SettingsLayer::SettingsLayer(const QSettings &settings, const QString &where)
    : m_where(where)
{
    if (settings.status() != QSettings::NoError || !looksLikeIni(settings.fileName())) {
        m_problems << QStringLiteral("Pengaturan di %1 tidak dapat dibaca (bukan berkas INI) dan "
                                     "diabaikan.")
                          .arg(where);
        return;
    }
    if (readText(settings, "registry/url", &m_registryUrl)) {
        QString why;
        if (m_registryUrl.trimmed().isEmpty() || RegistryAddress::parse(m_registryUrl, &why).isSet())
            m_hasRegistry = true;
        else
            m_problems << QStringLiteral("Alamat server daftar di %1 diabaikan: %2.").arg(where, why);
    }
    if (readText(settings, "player/name", &m_playerName)) {
        const bool control = std::any_of(m_playerName.cbegin(), m_playerName.cend(),
                                         [](QChar c) { return c.category() == QChar::Other_Control; });
        if (m_playerName.size() > MaxNameLength || control)
            m_problems << QStringLiteral("Nama pemain di %1 diabaikan: paling banyak %2 huruf, "
                                         "tanpa tanda kendali.")
                              .arg(where)
                              .arg(MaxNameLength);
        else
            m_hasPlayerName = true;
    }
    m_hasSound = readBool(settings, "sound/enabled", &m_sound);
    m_hasMapPorts = readBool(settings, "router/map_ports", &m_mapPorts);
    QString delay;
    if (readText(settings, "computer/delay_ms", &delay)) {
        bool ok = false;
        m_computerDelayMs = delay.trimmed().toInt(&ok);
        m_hasComputerDelay = ok && m_computerDelayMs >= 0 && m_computerDelayMs <= MaxComputerDelayMs;
        if (!m_hasComputerDelay)
            m_problems << QStringLiteral("computer/delay_ms di %1 diabaikan: harus angka 0 sampai %2.")
                              .arg(where)
                              .arg(MaxComputerDelayMs);
    }
}

// A text key: a list (an INI value with commas), a byte array or any other stored type is
// the wrong type and is left out.
bool SettingsLayer::readText(const QSettings &settings, const char *key, QString *value)
{
    const QString name = QLatin1String(key);
    if (!settings.contains(name))
        return false;
    const QVariant stored = settings.value(name);
    if (stored.typeId() != QMetaType::QString) {
        m_problems << QStringLiteral("%1 di %2 bukan teks biasa dan diabaikan.").arg(name, m_where);
        return false;
    }
    *value = stored.toString();
    return true;
}

bool SettingsLayer::readBool(const QSettings &settings, const char *key, bool *value)
{
    // Windows' registry may hold a number (REG_DWORD) where an administrator set one.
    const QVariant stored = settings.value(QLatin1String(key));
    if (stored.typeId() == QMetaType::Int || stored.typeId() == QMetaType::UInt
        || stored.typeId() == QMetaType::LongLong || stored.typeId() == QMetaType::Bool) {
        *value = stored.toLongLong() != 0;
        return true;
    }
    QString text;
    if (!readText(settings, key, &text))
        return false;
    text = text.trimmed().toLower();
    if (text == u"true" || text == u"1" || text == u"yes" || text == u"on" || text == u"ya") {
        *value = true;
        return true;
    }
    if (text == u"false" || text == u"0" || text == u"no" || text == u"off" || text == u"tidak") {
        *value = false;
        return true;
    }
    m_problems << QStringLiteral("%1 di %2 diabaikan: harus true atau false.")
                      .arg(QLatin1String(key), m_where);
    return false;
}

GameSettings GameSettings::resolve(const QString &commandLineUrl, const QString &environmentUrl,
                                   const SettingsLayer *user, const SettingsLayer *system)
{
    GameSettings settings;
    for (const SettingsLayer *layer : {system, user}) {
        if (layer)
            settings.problems += layer->problems();
    }

    // The registry: the strongest layer with a good address wins; a bad one is passed over.
    const auto take = [&settings](const QString &url, Origin origin, const QString &where) {
        if (url.trimmed().isEmpty()) {
            settings.registry = RegistryAddress{};
            settings.registryOrigin = origin;
            return true;
        }
        QString why;
        const RegistryAddress address = RegistryAddress::parse(url, &why);
        if (!address.isSet()) {
            settings.problems << QStringLiteral("Alamat server daftar %1 diabaikan: %2.").arg(where, why);
            return false;
        }
        settings.registry = address;
        settings.registryOrigin = origin;
        return true;
    };
    bool decided = !commandLineUrl.isNull()
                   && take(commandLineUrl, Origin::CommandLine, QStringLiteral("dari --registry"));
    if (!decided && !environmentUrl.isEmpty())
        decided = take(environmentUrl, Origin::Environment, QStringLiteral("dari DORVALA_FTP_URL"));
    if (!decided && user && user->hasRegistry())
        decided = take(user->registryUrl(), Origin::UserFile, QString());
    if (!decided && system && system->hasRegistry())
        take(system->registryUrl(), Origin::SystemFile, QString());

    // The other keys: the player's file over the system-wide one over the default.
    for (const SettingsLayer *layer : {system, user}) {
        if (!layer)
            continue;
        if (layer->hasPlayerName())
            settings.playerName = layer->playerName();
        if (layer->hasSound())
            settings.soundEnabled = layer->sound();
        if (layer->hasMapPorts())
            settings.mapPorts = layer->mapPorts();
        if (layer->hasComputerDelay())
            settings.computerDelayMs = layer->computerDelayMs();
    }
    return settings;
}
