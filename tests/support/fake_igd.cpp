#include "support/fake_igd.h"

#include <QRegularExpression>
#include <QTcpSocket>

namespace {

const QByteArray Service = "urn:schemas-upnp-org:service:WANIPConnection:1";

QByteArray http(const QByteArray &status, const QByteArray &body)
{
    return "HTTP/1.1 " + status + "\r\nContent-Type: text/xml; charset=\"utf-8\"\r\nContent-Length: "
           + QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
}

QByteArray envelope(const QByteArray &inner)
{
    return "<?xml version=\"1.0\"?><s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\" "
           "s:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\"><s:Body>"
           + inner + "</s:Body></s:Envelope>";
}

QByteArray success(const QByteArray &action, const QByteArray &arguments = {})
{
    return http("200 OK", envelope("<u:" + action + "Response xmlns:u=\"" + Service + "\">" + arguments
                                   + "</u:" + action + "Response>"));
}

QByteArray fault(int code)
{
    return http("500 Internal Server Error",
                envelope("<s:Fault><faultcode>s:Client</faultcode><faultstring>UPnPError</faultstring>"
                         "<detail><UPnPError xmlns=\"urn:schemas-upnp-org:control-1-0\"><errorCode>"
                         + QByteArray::number(code) + "</errorCode><errorDescription>x</errorDescription>"
                         "</UPnPError></detail></s:Fault>"));
}

QByteArray argument(const QByteArray &body, const char *name)
{
    const QRegularExpression pattern(QStringLiteral("<%1>([^<]*)</%1>").arg(QLatin1String(name)));
    return pattern.match(QString::fromLatin1(body)).captured(1).toLatin1();
}

QByteArray description()
{
    return "<?xml version=\"1.0\"?><root xmlns=\"urn:schemas-upnp-org:device-1-0\">"
           "<specVersion><major>1</major><minor>0</minor></specVersion><device>"
           "<deviceType>urn:schemas-upnp-org:device:InternetGatewayDevice:1</deviceType>"
           "<friendlyName>fake</friendlyName><deviceList><device>"
           "<deviceType>urn:schemas-upnp-org:device:WANDevice:1</deviceType><deviceList><device>"
           "<deviceType>urn:schemas-upnp-org:device:WANConnectionDevice:1</deviceType><serviceList>"
           "<service><serviceType>" + Service + "</serviceType>"
           "<serviceId>urn:upnp-org:serviceId:WANIPConn1</serviceId><SCPDURL>/scpd.xml</SCPDURL>"
           "<controlURL>/ctl</controlURL><eventSubURL>/evt</eventSubURL></service>"
           "</serviceList></device></deviceList></device></deviceList></device></root>";
}

} // namespace

FakeIgd::FakeIgd(QObject *parent)
    : QObject(parent)
{
    m_server.listen(QHostAddress::LocalHost, 0);
    m_port = m_server.serverPort();
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = m_server.nextPendingConnection())
            serve(socket);
    });
}

void FakeIgd::switchOff()
{
    m_server.close();
    mappings.clear();
}

bool FakeIgd::switchOn()
{
    return m_server.listen(QHostAddress::LocalHost, m_port);
}

QByteArray FakeIgd::descriptionUrl() const
{
    return "http://127.0.0.1:" + QByteArray::number(m_port) + "/rootDesc.xml";
}

void FakeIgd::serve(QTcpSocket *socket)
{
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    // Gather one request (head and body), answer it, close.
    connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
        const QByteArray request = socket->property("request").toByteArray() + socket->readAll();
        socket->setProperty("request", request);
        const QByteArray *buffer = &request;
        const qsizetype end = buffer->indexOf("\r\n\r\n");
        if (end < 0)
            return;
        const QByteArray head = buffer->left(end);
        const QRegularExpression lengthPattern(QStringLiteral("content-length:\\s*(\\d+)"),
                                               QRegularExpression::CaseInsensitiveOption);
        const qsizetype length = lengthPattern.match(QString::fromLatin1(head)).captured(1).toLongLong();
        if (buffer->size() < end + 4 + length)
            return;
        socket->write(answer(head, buffer->mid(end + 4, length)));
        socket->disconnectFromHost();
    });
}

QByteArray FakeIgd::answer(const QByteArray &head, const QByteArray &body)
{
    if (head.startsWith("GET")) {
        switch (mode) {
        case Mode::GarbageDescription:
            return http("200 OK", "\x01\x02<<<>>>&&&<root><device><deviceType>");
        case Mode::HugeDescription:
            return http("200 OK", "<root>" + QByteArray(4 * 1024 * 1024 / 8, 'x').replace("x", "<a>b</a>") + "</root>");
        default:
            return http("200 OK", description());
        }
    }
    // Control goes to the URL and service that the description names, or nowhere.
    if (!head.startsWith("POST /ctl ") || !head.contains(Service + '#'))
        return "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    if (mode == Mode::MalformedSoap)
        return http("200 OK", "<<<not xml");
    if (head.contains("#GetExternalIPAddress"))
        return success("GetExternalIPAddress", "<NewExternalIPAddress>" + externalAddress + "</NewExternalIPAddress>");
    const quint16 external = quint16(argument(body, "NewExternalPort").toUShort());
    if (head.contains("#AddPortMapping")) {
        Mapping mapping{argument(body, "NewInternalClient"), quint16(argument(body, "NewInternalPort").toUShort()),
                        argument(body, "NewLeaseDuration").toUInt()};
        if (mapping.internalPort < lowestAllowed)
            return fault(718);
        if (mappings.contains(external) && mappings.value(external).client != mapping.client)
            return fault(718);
        if (permanentOnly && mapping.lease != 0)
            return fault(725);
        mappings.insert(external, mapping);
        return success("AddPortMapping");
    }
    if (head.contains("#GetSpecificPortMappingEntry")) {
        if (!mappings.contains(external))
            return fault(714);
        const Mapping mapping = mappings.value(external);
        return success("GetSpecificPortMappingEntry",
                       "<NewInternalPort>" + QByteArray::number(mapping.internalPort) + "</NewInternalPort>"
                       "<NewInternalClient>" + mapping.client + "</NewInternalClient><NewEnabled>1</NewEnabled>"
                       "<NewPortMappingDescription>x</NewPortMappingDescription><NewLeaseDuration>"
                       + QByteArray::number(mapping.lease) + "</NewLeaseDuration>");
    }
    if (head.contains("#DeletePortMapping")) {
        if (mappings.remove(external) == 0)
            return fault(714);
        return success("DeletePortMapping");
    }
    return fault(401);
}
