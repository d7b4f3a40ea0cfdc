#include "ssdp_search.h"

#include <QDeadlineTimer>
#include <QList>
#include <QNetworkInterface>
#include <QUdpSocket>
#include <QUrl>
#include <QVariant>

namespace Ssdp {

namespace {

constexpr qsizetype MaxAnswerBytes = 2048;
constexpr qsizetype MaxLocationBytes = 256;

QByteArray searchFor(const char *target)
{
    return QByteArray("M-SEARCH * HTTP/1.1\r\n"
                      "HOST: 239.255.255.250:1900\r\n"
                      "MAN: \"ssdp:discover\"\r\n"
                      "MX: 1\r\n"
                      "ST: ")
           + target + "\r\n\r\n";
}

// The interface that holds `local`, so that the search leaves on the LAN the host is on.
QNetworkInterface interfaceHolding(const QHostAddress &local)
{
    for (const QNetworkInterface &candidate : QNetworkInterface::allInterfaces()) {
        for (const QNetworkAddressEntry &entry : candidate.addressEntries()) {
            if (entry.ip() == local)
                return candidate;
        }
    }
    return {};
}

} // namespace

QHostAddress multicastGroup()
{
    return QHostAddress(QStringLiteral("239.255.255.250"));
}

QByteArray gatewayLocation(QByteArrayView datagram, const QHostAddress &from)
{
    if (datagram.size() > MaxAnswerBytes || !datagram.startsWith("HTTP/1.1 200"))
        return {};
    QByteArray location;
    bool gateway = false;
    for (const QByteArray &line : datagram.toByteArray().split('\n')) {
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0)
            continue;
        const QByteArray name = line.left(colon).trimmed().toLower();
        const QByteArray value = line.mid(colon + 1).trimmed();
        if (name == "location")
            location = value;
        else if (name == "st")
            gateway = value.contains("InternetGatewayDevice");
    }
    if (!gateway || location.isEmpty() || location.size() > MaxLocationBytes)
        return {};
    const QUrl url(QString::fromLatin1(location), QUrl::StrictMode);
    if (!url.isValid() || url.scheme() != QLatin1String("http") || QHostAddress(url.host()) != from)
        return {};
    return location;
}

QByteArray searchFirst(const QHostAddress &local, int waitMs, const QHostAddress &to, quint16 port)
{
    QUdpSocket socket;
    if (local.isLoopback() && to.isMulticast())
        return {};
    if (!socket.bind(local, 0))
        return {};
    if (to.isMulticast()) {
        socket.setSocketOption(QAbstractSocket::MulticastTtlOption, QVariant(2));
        const QNetworkInterface lan = interfaceHolding(local);
        if (lan.isValid())
            socket.setMulticastInterface(lan);
    }
    for (const char *target : {"urn:schemas-upnp-org:device:InternetGatewayDevice:1",
                               "urn:schemas-upnp-org:device:InternetGatewayDevice:2"})
        socket.writeDatagram(searchFor(target), to, port);
    const QDeadlineTimer deadline(waitMs);
    while (!deadline.hasExpired()) {
        if (!socket.hasPendingDatagrams() && !socket.waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime()))))
            continue;
        while (socket.hasPendingDatagrams()) {
            QHostAddress from;
            QByteArray answer(MaxAnswerBytes + 1, '\0');
            const qint64 size = socket.readDatagram(answer.data(), answer.size(), &from);
            if (size <= 0)
                continue;
            answer.truncate(size);
            const QByteArray location = gatewayLocation(answer, from);
            if (!location.isEmpty())
                return location;
        }
    }
    return {};
}

} // namespace Ssdp
