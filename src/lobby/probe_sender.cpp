#include "probe_sender.h"

#include <QHostAddress>
#include <QTcpSocket>
#include <QTimer>

ProbeSender::ProbeSender(QObject *parent)
    : QObject(parent)
{
}

void ProbeSender::probe(const QStringList &addresses, quint16 port)
{
    m_queue = addresses;
    m_next = 0;
    m_port = port;
    scheduleStarts();
}

int ProbeSender::pending() const
{
    return int(m_queue.size() - m_next) + m_inFlight;
}

void ProbeSender::scheduleStarts()
{
    if (m_startsPosted)
        return;
    m_startsPosted = true;
    QMetaObject::invokeMethod(this, &ProbeSender::startPasses, Qt::QueuedConnection);
}

void ProbeSender::startPasses()
{
    m_startsPosted = false;
    int started = 0;
    while (m_next < m_queue.size() && m_inFlight < MaxInFlight && started < StartsPerTurn) {
        const QString address = m_queue.at(m_next++);
        ++started;
        ++m_begun;
        const QHostAddress literal(address);
        if (literal.isNull())
            continue;  // no address: the pass fails before it begins

        auto *socket = new QTcpSocket(this);
        ++m_inFlight;
        connect(socket, &QTcpSocket::connected, socket, [this, socket] {
            ++m_sent;
            socket->write("Ping");
            socket->disconnectFromHost();
        });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] { endPass(socket); });
        connect(socket, &QTcpSocket::errorOccurred, this, [this, socket] { endPass(socket); });
        QTimer::singleShot(PassTimeoutMs, socket, [this, socket] { endPass(socket); });
        socket->connectToHost(literal, m_port);
    }
    if (m_next < m_queue.size())
        scheduleStarts();
    else if (pending() == 0)
        emit finished();
}

void ProbeSender::endPass(QTcpSocket *socket)
{
    // Each pass ends once, whichever of close, error or time-out comes first.
    if (socket->property("ended").toBool())
        return;
    socket->setProperty("ended", true);
    disconnect(socket, nullptr, this, nullptr);
    socket->abort();
    socket->deleteLater();
    --m_inFlight;
    if (m_next < m_queue.size())
        scheduleStarts();
    else if (pending() == 0)
        emit finished();
}
