// Hosting with the router asked. Figures only:
//
//   - from the program's start to its host screen (--host, as a player's "Mulai" and then
//     "Host"), with the router asked and without: the asking runs beside the screen, so the
//     two should match;
//   - from the host screen's opening to the router's reply to the last of its two mappings
//     (match and probe port), both stamped by CLOCK_MONOTONIC;
//   - the host's peak memory (VmHWM) once its ports are mapped.
//
//   bench_host_open [runs, default 10] [router reply delay ms, default 0]
//
// The router is NAT-PMP on loopback inside this process, granting every mapping; its
// external address counts as public (DORVALA_PUBLIC_NETS), so the host maps and publishes
// it. With DISPLAY set the program uses the X server, otherwise the offscreen platform. The
// two ways are run in turns, so that the machine's drift falls on both alike.
#include "bench_common.h"

#include "control/control_client.h"

#include <QCoreApplication>
#include <QNetworkDatagram>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QTimer>
#include <QUdpSocket>
#include <QtEndian>

#include <cstdio>
#include <vector>

namespace {

// Answers the external address and grants every mapping, `delayMs` late; remembers when it
// sent each mapping reply.
class LoopbackRouter : public QObject
{
public:
    explicit LoopbackRouter(int delayMs)
        : m_delayMs(delayMs)
    {
        m_socket.bind(QHostAddress::LocalHost, 0);
        connect(&m_socket, &QUdpSocket::readyRead, this, &LoopbackRouter::read);
    }

    quint16 port() const { return m_socket.localPort(); }
    // Monotonic times of the mapping replies (lifetime > 0) sent so far.
    const std::vector<qint64> &mapped() const { return m_mapped; }
    void forget() { m_mapped.clear(); }

private:
    void read()
    {
        while (m_socket.hasPendingDatagrams()) {
            const QNetworkDatagram request = m_socket.receiveDatagram(64);
            QTimer::singleShot(m_delayMs, this, [this, request] { answer(request); });
        }
    }

    void answer(const QNetworkDatagram &request)
    {
        const QByteArray in = request.data();
        QByteArray out;
        if (in.size() == 2 && in.at(0) == 0 && in.at(1) == 0) {
            out = QByteArray(12, '\0');
            out[1] = char(128);
            qToBigEndian<quint32>(quint32(m_clock.elapsed() / 1000), out.data() + 4);
            qToBigEndian<quint32>(0xc6130007, out.data() + 8);  // 198.19.0.7
        } else if (in.size() == 12 && in.at(0) == 0 && (in.at(1) == 1 || in.at(1) == 2)) {
            out = QByteArray(16, '\0');
            out[1] = char(128 + in.at(1));
            qToBigEndian<quint32>(quint32(m_clock.elapsed() / 1000), out.data() + 4);
            out.replace(8, 2, in.mid(4, 2));   // internal port
            out.replace(10, 2, in.mid(4, 2));  // the same external port
            out.replace(12, 4, in.mid(8, 4));  // the lifetime asked for
            if (qFromBigEndian<quint32>(in.constData() + 8) != 0)
                m_mapped.push_back(Bench::monotonicNs());
        } else {
            return;
        }
        m_socket.writeDatagram(request.makeReply(out));
    }

    QUdpSocket m_socket;
    QElapsedTimer m_clock = [] {
        QElapsedTimer started;
        started.start();
        return started;
    }();
    int m_delayMs;
    std::vector<qint64> m_mapped;
};

struct Figures
{
    std::vector<double> toScreenMs;
    std::vector<double> toMappedMs;
    std::vector<double> peakMb;
    int failed = 0;
};

// One start of the host; false when it never showed its screen or, asked to, never mapped.
bool hostOnce(LoopbackRouter &router, bool askRouter, Figures *figures)
{
    QTemporaryDir drive;
    QTemporaryDir config;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!qEnvironmentVariableIsSet("DISPLAY"))
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.remove(QStringLiteral("DORVALA_FTP_URL"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), config.path());
    environment.insert(QStringLiteral("DORVALA_DRIVE_C"), drive.path());
    environment.insert(QStringLiteral("DORVALA_LOCAL_IP"), QStringLiteral("127.0.0.1"));
    environment.insert(QStringLiteral("DORVALA_LAN_PORT"), QStringLiteral("0"));
    environment.insert(QStringLiteral("DORVALA_MATCH_PORT"), QString::number(Bench::freePort()));
    environment.insert(QStringLiteral("DORVALA_PROBE_PORT"), QString::number(Bench::freePort()));
    environment.insert(QStringLiteral("DORVALA_ROUTER"), QStringLiteral("127.0.0.1:%1").arg(router.port()));
    environment.insert(QStringLiteral("DORVALA_PUBLIC_NETS"), QStringLiteral("198.19.0.0/16"));
    environment.insert(QStringLiteral("DORVALA_MAP_PORTS"), askRouter ? QStringLiteral("1") : QStringLiteral("0"));

    router.forget();
    ControlClient host(QStringLiteral("host"));
    const qint64 started = Bench::monotonicNs();
    host.start(QCoreApplication::applicationDirPath() + QStringLiteral("/dorvala"),
               {QStringLiteral("--control"), QStringLiteral("--host"), QStringLiteral("--name"),
                QStringLiteral("Budi")},
               environment);
    if (!Bench::waitFor([&] { return host.seen(QStringLiteral("screen"), QStringLiteral("host")); }, 20000))
        return false;
    const qint64 shown = host.events().at(host.find(QStringLiteral("screen"), QStringLiteral("host"))).t;
    figures->toScreenMs.push_back(double(shown - started) / 1e6);
    if (askRouter) {
        if (!Bench::waitFor([&] { return router.mapped().size() >= 2; }, 5000))
            return false;
        figures->toMappedMs.push_back(double(router.mapped().at(1) - shown) / 1e6);
        figures->peakMb.push_back(Bench::procStatusMb("VmHWM", host.processId()));
    }
    host.command(QStringLiteral("quit"));
    Bench::waitFor([&] { return host.hasFinished(); }, 10000);
    return true;
}

void line(const char *what, std::vector<double> values, const char *unit)
{
    if (values.empty()) {
        std::printf("%-52s no figures\n", what);
        return;
    }
    std::printf("%-52s median %7.1f %s   p90 %7.1f %s   max %7.1f %s   (%zu runs)\n", what,
                Bench::percentile(values, 50), unit, Bench::percentile(values, 90), unit,
                Bench::percentile(values, 100), unit, values.size());
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 10;
    const int delayMs = argc > 2 ? std::max(0, std::atoi(argv[2])) : 0;
    LoopbackRouter router(delayMs);
    Figures asked;
    Figures notAsked;
    hostOnce(router, true, &asked);  // warm-up
    asked = {};
    for (int i = 0; i < runs; ++i) {
        if (!hostOnce(router, true, &asked))
            ++asked.failed;
        if (!hostOnce(router, false, &notAsked))
            ++notAsked.failed;
    }
    std::printf("router reply delay %d ms\n", delayMs);
    line("start to host screen, router not asked", notAsked.toScreenMs, "ms");
    line("start to host screen, router asked", asked.toScreenMs, "ms");
    line("host screen to both ports mapped", asked.toMappedMs, "ms");
    std::printf("%-52s median %7.1f MB\n", "host's peak memory once mapped (VmHWM)",
                asked.peakMb.empty() ? -1.0 : Bench::percentile(asked.peakMb, 50));
    if (asked.failed || notAsked.failed)
        std::printf("failed starts: %d asked, %d not asked\n", asked.failed, notAsked.failed);
    return 0;
}
