#include "probe_sender.h"

#include "net/host_address.h"
#include "platform/socket_options.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QNetworkProxy>
#include <QTcpSocket>

ProbeSender::ProbeSender(QObject *parent)
    : QObject(parent)
    , m_socket(new QTcpSocket(this))
{
    // A probe goes straight to the address, never through a proxy that would complete the
    // connection (and so take the bytes) on its behalf.
    m_socket->setProxy(QNetworkProxy::NoProxy);
}

void ProbeSender::probe(const QStringList &addresses, quint16 port)
{
    m_queue = addresses;
    m_next = 0;
    m_port = port;
    scheduleBurst();
}

int ProbeSender::pending() const
{
    return int(m_queue.size() - m_next);
}

void ProbeSender::scheduleBurst()
{
    if (m_burstPosted)
        return;
    m_burstPosted = true;
    QMetaObject::invokeMethod(this, &ProbeSender::runBurst, Qt::QueuedConnection);
}

void ProbeSender::runBurst()
{
    m_burstPosted = false;
    QElapsedTimer burst;
    burst.start();
    while (m_next < m_queue.size() && burst.elapsed() < BurstMs)
        pass(m_queue.at(m_next++));
    if (m_next < m_queue.size())
        scheduleBurst();
    else
        emit finished();
}

void ProbeSender::pass(const QString &address)
{
    ++m_begun;
    m_socket->abort();
    // An entry "a.b.c.d_M_P" names the probe port its router maps; a plain one the standard.
    const HostAddress entry = HostAddress::parse(address, 0, m_port);
    if (!entry.isValid())
        return;  // no address: the request fails and the pass ends
    m_socket->connectToHost(QHostAddress(entry.ipv4()), entry.probePort());
    // Should the peer's side complete the handshake before the close below, the close
    // resets it: the peer sees a connection that went away without a word, not an orderly
    // visitor.
    SocketOptions::setResetOnClose(m_socket->socketDescriptor());
    // The send: only a connected socket sends, and right after the request it is still
    // connecting (one that were connected would only queue the word for a later turn of the
    // event loop, and the close drops what is queued).
    if (m_socket->state() == QAbstractSocket::ConnectedState)
        m_socket->write("Ping");
    m_socket->abort();
}
