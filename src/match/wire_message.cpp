#include "wire_message.h"

#include <QStringDecoder>
#include <QStringEncoder>

QString WireMessage::hostName(const QString &name)
{
    return QLatin1Char('O') + name;
}

QString WireMessage::joinerName(const QString &name)
{
    return QLatin1Char('X') + name;
}

QString WireMessage::score(const QString &total)
{
    return QLatin1Char('$') + total;
}

QString WireMessage::restart()
{
    return QStringLiteral("X");
}

QString WireMessage::move(const QString &cell)
{
    return cell;
}

QString WireMessage::chat(const QString &text)
{
    return QStringLiteral("msg: ") + text;
}

QByteArray WireMessage::encode(const QString &message)
{
    QStringEncoder encoder("windows-1252", QStringConverter::Flag::Stateless);
    return encoder.encode(message);
}

QString WireMessage::decode(const QByteArray &bytes)
{
    QStringDecoder decoder("windows-1252", QStringConverter::Flag::Stateless);
    return decoder.decode(bytes);
}
