#include "match_socket.h"

#include "platform/keep_alive.h"
#include "wire/wire_message.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>


namespace {

constexpr int DefaultConnectTimeout = 10000;

void tune(QTcpSocket *socket)
{
    // Messages are a few bytes at a human pace: each goes out at once instead of waiting for
    // the acknowledgement of the one before (up to 40 ms when the peer delays its ACK).
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    // A peer whose machine vanishes (cable, power, sleep) sends no close: without probes
    // it looks like a player who is thinking, for ever. The system probes a silent
    // connection after 30 s and gives up after three unanswered probes 10 s apart; the
    // screen then shows the connection as lost. No wake-ups in this process meanwhile.
    socket->setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    setKeepAlive(socket->socketDescriptor(), 30, 10, 3);
}

// A host name we may look up: dot-separated labels of letters, digits and inner hyphens,
// at most 63 characters each and 253 in all. Anything else (spaces, a port suffix, stray
// signs) is refused before it can reach a resolver.
bool looksLikeHostName(const QString &text)
{
    if (text.isEmpty() || text.size() > 253)
        return false;
    for (const QStringView label : QStringView(text).split(u'.')) {
        if (label.isEmpty() || label.size() > 63 || label.front() == u'-' || label.back() == u'-')
            return false;
        for (const QChar c : label) {
            if (c.unicode() > 127 || !(c.isLetterOrNumber() || c == u'-'))
                return false;
        }
    }
    return true;
}

} // namespace

MatchSocket::MatchSocket(QObject *parent)
    : QObject(parent)
    , m_connectTimer(new QTimer(this))
{
    setObjectName(QStringLiteral("data"));
    m_connectTimer->setSingleShot(true);
    m_connectTimer->setInterval(DefaultConnectTimeout);
    connect(m_connectTimer, &QTimer::timeout, this, [this] {
        dropPeer();
        fail(tr("Tidak dapat terhubung ke %1: waktu habis.").arg(m_remote));
    });
}

MatchSocket::~MatchSocket()
{
    dropPeer();
}

bool MatchSocket::listen(quint16 port)
{
    close();
    if (!m_server) {
        m_server = new QTcpServer(this);
        m_server->setMaxPendingConnections(1);
        connect(m_server, &QTcpServer::newConnection, this, &MatchSocket::connectionRequest);
    }
    if (m_server->listen(QHostAddress::Any, port))
        return true;

    switch (m_server->serverError()) {
    case QAbstractSocket::AddressInUseError:
        m_errorText = tr("Port %1 sedang dipakai program lain.").arg(port);
        break;
    case QAbstractSocket::SocketAccessError:
        m_errorText = tr("Port %1 tidak boleh dibuka: izin ditolak.").arg(port);
        break;
    default:
        m_errorText = tr("Port %1 tidak dapat dibuka.").arg(port);
        break;
    }
    return false;
}

bool MatchSocket::listenAlso(quint16 port)
{
    // Only while still waiting for the joiner: accepting one ends the listening for good.
    if (!isListening())
        return false;
    if (!m_also) {
        m_also = new QTcpServer(this);
        m_also->setMaxPendingConnections(1);
        connect(m_also, &QTcpServer::newConnection, this, &MatchSocket::connectionRequest);
    }
    return m_also->isListening() || m_also->listen(QHostAddress::Any, port);
}

QTcpSocket *MatchSocket::nextPending()
{
    QTcpSocket *socket = m_server ? m_server->nextPendingConnection() : nullptr;
    if (!socket && m_also)
        socket = m_also->nextPendingConnection();
    return socket;
}

void MatchSocket::stopListening()
{
    if (m_server)
        m_server->close();
    if (m_also)
        m_also->close();
}

bool MatchSocket::accept()
{
    if (!m_server)
        return false;
    QTcpSocket *socket = nextPending();
    // One that came and went before we got to it is no joiner: keep waiting for a real one.
    while (socket && socket->state() != QAbstractSocket::ConnectedState) {
        socket->deleteLater();
        socket = nextPending();
    }
    if (!socket)
        return false;
    // Anyone else who got in before the listening ended is turned away.
    while (QTcpSocket *extra = nextPending()) {
        extra->abort();
        extra->deleteLater();
    }
    stopListening();
    dropPeer();
    adopt(socket);
    return true;
}

void MatchSocket::connectToHost(const QString &address, quint16 port)
{
    close();
    m_remote = address.trimmed();
    if (m_remote.isEmpty()) {
        fail(tr("Alamat host kosong: isi alamat IP host terlebih dahulu."));
        return;
    }
    if (QHostAddress(m_remote).isNull() && !looksLikeHostName(m_remote)) {
        fail(tr("Alamat host tidak valid: %1").arg(m_remote));
        return;
    }
    auto *socket = new QTcpSocket(this);
    adopt(socket);
    connect(socket, &QTcpSocket::connected, this, [this] {
        m_connectTimer->stop();
        emit connected();
    });
    m_connectTimer->start();
    socket->connectToHost(m_remote, port);
}

void MatchSocket::setConnectTimeout(int milliseconds)
{
    m_connectTimer->setInterval(milliseconds);
}

void MatchSocket::close()
{
    ++m_attempt;
    m_connectTimer->stop();
    dropPeer();
    stopListening();
}

bool MatchSocket::send(const QString &message)
{
    if (!isConnected())
        return false;
    if (m_peer->write(WireMessage::encode(message)) < 0)
        return false;
    emit sent(message);
    return true;
}

void MatchSocket::flush()
{
    if (m_peer)
        m_peer->flush();
}

QString MatchSocket::receive()
{
    if (!m_peer)
        return {};
    const QString message = WireMessage::decode(m_peer->readAll());
    emit received(message);
    return message;
}

bool MatchSocket::isConnected() const
{
    return m_peer && m_peer->state() == QAbstractSocket::ConnectedState;
}

bool MatchSocket::isListening() const
{
    return m_server && m_server->isListening();
}

void MatchSocket::adopt(QTcpSocket *socket)
{
    m_peer = socket;
    socket->setParent(this);
    if (socket->state() == QAbstractSocket::ConnectedState)
        tune(socket);
    connect(socket, &QTcpSocket::connected, socket, [socket] { tune(socket); });
    connect(socket, &QTcpSocket::readyRead, this, &MatchSocket::dataArrival);
    connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
        // Only a peer that was really there can close; a failed connect reports failed().
        if (socket != m_peer)
            return;
        emit peerClosed();
    });
    connect(socket, &QTcpSocket::errorOccurred, this, &MatchSocket::onError);
}

void MatchSocket::dropPeer()
{
    if (!m_peer)
        return;
    QTcpSocket *socket = m_peer;
    m_peer = nullptr;
    socket->disconnect(this);
    socket->abort();
    socket->deleteLater();
}

void MatchSocket::onError()
{
    auto *socket = qobject_cast<QTcpSocket *>(sender());
    if (!socket || socket != m_peer || !m_connectTimer->isActive())
        return;  // errors of an established connection end in peerClosed()
    m_connectTimer->stop();
    QString why;
    switch (socket->error()) {
    case QAbstractSocket::ConnectionRefusedError:
        why = tr("koneksi ditolak");
        break;
    case QAbstractSocket::HostNotFoundError:
        why = tr("host tidak ditemukan");
        break;
    case QAbstractSocket::SocketTimeoutError:
        why = tr("waktu habis");
        break;
    case QAbstractSocket::NetworkError:
        why = tr("jaringan tidak terjangkau");
        break;
    default:
        why = tr("kesalahan jaringan");
        break;
    }
    dropPeer();
    fail(tr("Tidak dapat terhubung ke %1: %2.").arg(m_remote, why));
}

void MatchSocket::fail(const QString &message)
{
    m_errorText = message;
    // Reported from the event loop, so a caller that starts a connect in its load step can
    // connect to failed() afterwards and still hear about an address refused at once.
    QTimer::singleShot(0, this, [this, message, attempt = m_attempt] {
        if (attempt == m_attempt)
            emit failed(message);
    });
}
