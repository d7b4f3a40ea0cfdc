#include "natpmp_client.h"

#include <QNetworkDatagram>
#include <QTimer>
#include <QUdpSocket>

namespace {
constexpr int FirstWaitMs = 250;
}

NatPmpClient::NatPmpClient(const QHostAddress &router, quint16 port, QObject *parent)
    : QObject(parent)
    , m_router(router)
    , m_port(port)
    , m_socket(new QUdpSocket(this))
    , m_retry(new QTimer(this))
{
    m_retry->setSingleShot(true);
    connect(m_retry, &QTimer::timeout, this, &NatPmpClient::retry);
    connect(m_socket, &QUdpSocket::readyRead, this, &NatPmpClient::readDatagrams);
}

NatPmpClient::~NatPmpClient() = default;

void NatPmpClient::requestExternalAddress()
{
    enqueue({NatPmp::externalAddressRequest(), NatPmp::OpExternalAddress, 0});
}

void NatPmpClient::requestMapping(quint8 opcode, quint16 internalPort, quint16 externalPort,
                                  quint32 lifetime)
{
    enqueue({NatPmp::mappingRequest(opcode, internalPort, externalPort, lifetime), opcode, internalPort});
}

void NatPmpClient::cancelAll()
{
    m_retry->stop();
    m_queue.clear();
}

void NatPmpClient::enqueue(const Request &request)
{
    m_queue.append(request);
    if (m_queue.size() == 1)
        sendCurrent();
}

void NatPmpClient::sendCurrent()
{
    if (m_queue.isEmpty() || m_retry->isActive())
        return;  // dropped meanwhile, or already sent
    if (m_socket->state() == QAbstractSocket::UnconnectedState)
        m_socket->bind(QHostAddress(QHostAddress::AnyIPv4), 0);
    m_sentFirst.start();
    m_nextWaitMs = FirstWaitMs;
    m_socket->writeDatagram(m_queue.constFirst().datagram, m_router, m_port);
    m_retry->start(qMin(m_nextWaitMs, m_deadlineMs));
}

void NatPmpClient::retry()
{
    if (m_queue.isEmpty())
        return;
    const int left = m_deadlineMs - int(m_sentFirst.elapsed());
    if (left <= 0) {
        const Request lost = m_queue.constFirst();
        finishCurrent();
        emit timedOut(lost.opcode, lost.internalPort);
        return;
    }
    m_socket->writeDatagram(m_queue.constFirst().datagram, m_router, m_port);
    m_nextWaitMs *= 2;
    m_retry->start(qMin(m_nextWaitMs, left));
}

void NatPmpClient::finishCurrent()
{
    m_retry->stop();
    m_queue.removeFirst();
    if (!m_queue.isEmpty())
        QMetaObject::invokeMethod(this, &NatPmpClient::sendCurrent, Qt::QueuedConnection);
}

void NatPmpClient::readDatagrams()
{
    while (m_socket->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_socket->receiveDatagram(64);
        if (m_queue.isEmpty() || datagram.senderPort() != m_port
            || !datagram.senderAddress().isEqual(m_router, QHostAddress::ConvertV4MappedToIPv4))
            continue;
        const Request &current = m_queue.constFirst();
        auto reply = NatPmp::decodeReply(datagram.data(), current.opcode);
        if (!reply || (current.opcode != NatPmp::OpExternalAddress
                       && reply->result == NatPmp::Success && reply->internalPort != current.internalPort))
            continue;
        // A short refusal carries no port: it answers the request under way.
        reply->internalPort = current.internalPort;
        checkEpoch(reply->epoch);
        finishCurrent();
        emit replied(*reply);
    }
}

void NatPmpClient::checkEpoch(quint32 epoch)
{
    // RFC 6886 3.6: the router's clock may run a little slower than ours, so an epoch is
    // only "gone back" when it is behind 7/8 of our elapsed time, less 2 s.
    if (m_knowEpoch) {
        const qint64 elapsed = m_epochSeen.elapsed() / 1000;
        if (qint64(epoch) < qint64(m_epoch) + elapsed * 7 / 8 - 2) {
            m_epoch = epoch;
            m_epochSeen.start();
            emit routerRestarted();
            return;
        }
    }
    m_knowEpoch = true;
    m_epoch = epoch;
    m_epochSeen.start();
}
