#include "support/fake_natpmp_router.h"

#include <QNetworkDatagram>
#include <QUdpSocket>
#include <QtEndian>

namespace {

QByteArray header(quint8 opcode, quint16 result, quint32 epoch, int size)
{
    QByteArray reply(size, '\0');
    reply[1] = char(opcode | 0x80);
    qToBigEndian<quint16>(result, reply.data() + 2);
    qToBigEndian<quint32>(epoch, reply.data() + 4);
    return reply;
}

} // namespace

FakeNatPmpRouter::FakeNatPmpRouter(QObject *parent)
    : QObject(parent)
    , m_socket(new QUdpSocket(this))
    , m_other(new QUdpSocket(this))
{
    m_socket->bind(QHostAddress::LocalHost, 0);
    m_other->bind(QHostAddress::LocalHost, 0);
    connect(m_socket, &QUdpSocket::readyRead, this, &FakeNatPmpRouter::read);
}

FakeNatPmpRouter::~FakeNatPmpRouter() = default;

quint16 FakeNatPmpRouter::port() const
{
    return m_socket->localPort();
}

void FakeNatPmpRouter::restart()
{
    mappings.clear();
    epoch = 0;
}

void FakeNatPmpRouter::read()
{
    while (m_socket->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_socket->receiveDatagram();
        requests.append(datagram.data());
        if (mode == Mode::Silent || m_copies++ < ignoreCopies)
            continue;
        m_copies = 0;
        const QByteArray reply = answer(datagram.data());
        if (reply.isEmpty())
            continue;
        QUdpSocket *from = mode == Mode::FromOtherPort ? m_other : m_socket;
        from->writeDatagram(reply, datagram.senderAddress(), datagram.senderPort());
    }
}

QByteArray FakeNatPmpRouter::answer(const QByteArray &request)
{
    if (request.size() < 2)
        return {};
    const quint8 opcode = quint8(request[1]);
    QByteArray reply;
    if (opcode == 0) {
        const bool none = mode == Mode::NoAddress;
        reply = header(0, none ? 3 : 0, epoch, 12);
        qToBigEndian<quint32>(none ? 0 : externalAddress, reply.data() + 8);
    } else if ((opcode == 1 || opcode == 2) && request.size() >= 12) {
        quint16 internal = qFromBigEndian<quint16>(request.constData() + 4);
        const quint16 suggested = qFromBigEndian<quint16>(request.constData() + 6);
        quint32 lifetime = qMin(qFromBigEndian<quint32>(request.constData() + 8), maxLifetime);
        quint16 external = 0;
        quint16 result = 0;
        if (internal < lowestAllowed) {
            result = 2;
        } else if (lifetime == 0) {
            mappings.remove(internal);
        } else {
            external = mappings.value(internal, quint16(suggested + externalShift));
            mappings.insert(internal, external);
        }
        if (mode == Mode::MapSilently)
            return {};
        if (result != 0 && mode == Mode::ShortRefusal)
            return header(opcode, result, epoch, 8);
        if (mode == Mode::OtherInternalPort)
            internal = quint16(internal + 1);
        reply = header(opcode, result, epoch, 16);
        qToBigEndian<quint16>(internal, reply.data() + 8);
        qToBigEndian<quint16>(result ? 0 : external, reply.data() + 10);
        qToBigEndian<quint32>(result ? 0 : lifetime, reply.data() + 12);
    } else {
        reply = header(opcode, 5, epoch, 8);
    }
    switch (mode) {
    case Mode::Short:
        reply.truncate(7);
        break;
    case Mode::WrongOpcode:
        reply[1] = char((quint8(reply[1]) ^ 0x02) | 0x80);
        break;
    case Mode::WrongVersion:
        reply[0] = 2;
        break;
    default:
        break;
    }
    return reply;
}
