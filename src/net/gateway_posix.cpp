#include "net/port_mapper.h"

#include <QFile>
#include <QNetworkInterface>

#include <QtEndian>

namespace {

QString interfaceOf(const QHostAddress &localAddress)
{
    for (const QNetworkInterface &interface : QNetworkInterface::allInterfaces()) {
        for (const QNetworkAddressEntry &entry : interface.addressEntries()) {
            if (entry.ip().isEqual(localAddress, QHostAddress::ConvertV4MappedToIPv4))
                return interface.name();
        }
    }
    return {};
}

} // namespace

// Linux keeps its routes in /proc/net/route: interface, destination, gateway, flags, ... with
// addresses as hexadecimal in the machine's byte order.
QHostAddress defaultGateway(const QHostAddress &localAddress)
{
    QFile routes(QStringLiteral("/proc/net/route"));
    if (!routes.open(QIODevice::ReadOnly))
        return {};
    const QString wanted = interfaceOf(localAddress);
    QHostAddress any;
    for (const QByteArray &line : routes.read(64 * 1024).split('\n')) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.size() < 4 || fields.at(1) != "00000000")
            continue;
        bool ok = false;
        const quint32 raw = fields.at(2).toUInt(&ok, 16);
        if (!ok || raw == 0)
            continue;
        // The number's bytes in memory are the address's bytes in network order.
        const QHostAddress gateway(qFromBigEndian(raw));
        if (QString::fromLatin1(fields.at(0)) == wanted)
            return gateway;
        if (any.isNull())
            any = gateway;
    }
    return wanted.isEmpty() ? any : QHostAddress();
}
