#include "wire_message.h"

#include "platform/cp1252.h"

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
    return Cp1252::encode(message);
}

QString WireMessage::decode(const QByteArray &bytes)
{
    return Cp1252::decode(bytes);
}
