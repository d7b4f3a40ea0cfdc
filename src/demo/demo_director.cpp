#include "demo_director.h"

#include "control/control_client.h"
#include "demo/demo_registry.h"
#include "demo/demo_script.h"
#include "demo/demo_transcript.h"

#include "platform/rtf_document.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHostAddress>
#include <QTcpServer>
#include <QTimer>

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

constexpr int PollInterval = 100;
constexpr int StartTimeout = 90000;
constexpr int EndTimeout = 20000;

// Distinct ports nobody listens on right now, taken together so that none repeats.
std::array<quint16, 3> freePorts()
{
    std::array<QTcpServer, 3> servers;
    std::array<quint16, 3> ports{};
    for (size_t i = 0; i < servers.size(); ++i) {
        if (servers[i].listen(QHostAddress::LocalHost, 0))
            ports[i] = servers[i].serverPort();
    }
    return ports;
}

// A message box on the way to the match screen (the registry out of reach, say) stops the
// road there: no use waiting for the screen.
bool opened(const ControlClient &player, const QString &screen)
{
    return player.seen(QStringLiteral("screen"), screen) || player.seen(QStringLiteral("box"));
}

QString boxShown(const ControlClient &player)
{
    const QStringList boxes = player.payloads(QStringLiteral("box"));
    return boxes.isEmpty() ? QString() : QStringLiteral("it showed the message \"%1\"").arg(boxes.first());
}

} // namespace

DemoDirector::DemoDirector(const QString &folder, QObject *parent)
    : QObject(parent)
    , m_folder(QDir(folder).absolutePath())
    , m_stepTimer(new QTimer(this))
    , m_pollTimer(new QTimer(this))
    , m_endTimer(new QTimer(this))
{
    m_stepTimer->setSingleShot(true);
    connect(m_stepTimer, &QTimer::timeout, this, &DemoDirector::timedOut);
    m_pollTimer->setInterval(PollInterval);
    connect(m_pollTimer, &QTimer::timeout, this, [this] {
        if (m_waiting && m_steps[m_index].poll)
            m_steps[m_index].poll();
    });
    m_endTimer->setSingleShot(true);
    connect(m_endTimer, &QTimer::timeout, this, [this] {
        // Players that did not end by themselves are ended; what they left is still reported.
        for (ControlClient *player : {m_host, m_join}) {
            if (player && !player->hasFinished())
                player->kill();
        }
    });
}

DemoDirector::~DemoDirector() = default;

void DemoDirector::start()
{
    QTimer::singleShot(0, this, &DemoDirector::prepare);
}

void DemoDirector::say(const QString &line) const
{
    std::fputs(qPrintable(line + u'\n'), stdout);
    std::fflush(stdout);
}

void DemoDirector::prepare()
{
    m_clock.start();
    say(QStringLiteral("Dorvala Online demo: a host and a joiner play a match by themselves."));
    if (!QDir().mkpath(m_folder) || !QFileInfo(m_folder).isWritable()) {
        finish(QStringLiteral("cannot write screenshots into ") + m_folder);
        return;
    }
    // Pictures of an earlier run must not pass for this one's.
    const QStringList old = QDir(m_folder).entryList(
        {QStringLiteral("[0-9][0-9]-*-host.png"), QStringLiteral("[0-9][0-9]-*-join.png")}, QDir::Files);
    for (const QString &name : old)
        QFile::remove(QDir(m_folder).filePath(name));
    if (!m_work.isValid()) {
        finish(QStringLiteral("no temporary folder for the players"));
        return;
    }
    const std::array<quint16, 3> ports = freePorts();
    if (ports[0] == 0 || ports[1] == 0 || ports[2] == 0) {
        finish(QStringLiteral("no free loopback ports"));
        return;
    }
    m_matchPort = ports[0];

    const QString configured = qEnvironmentVariable("DORVALA_FTP_URL");
    if (!configured.isEmpty()) {
        useRegistry(configured, QStringLiteral("from DORVALA_FTP_URL"));
        return;
    }
    m_registry = new DemoRegistry(this);
    connect(m_registry, &DemoRegistry::ready, this, [this](const QString &url) {
        useRegistry(url, QStringLiteral("started for the demo"));
    });
    connect(m_registry, &DemoRegistry::failed, this, &DemoDirector::skipLobby);
    m_registry->start();
}

void DemoDirector::useRegistry(const QString &url, const QString &where)
{
    m_ftpUrl = url;
    say(QStringLiteral("Registry: %1 (%2).").arg(url, where));
    begin();
}

void DemoDirector::skipLobby(const QString &reason)
{
    m_lobby = false;
    // A port nobody answers on: the players' registry transfers fail at once and quietly,
    // and no registry of the user's is touched.
    m_ftpUrl = QStringLiteral("ftp://dorvala@127.0.0.1:%1/").arg(freePorts()[0]);
    say(QStringLiteral("No registry (%1): the lobby step is skipped, the players open their "
                       "match screens directly.")
            .arg(reason));
    begin();
}

QProcessEnvironment DemoDirector::playerEnvironment(const QString &drive, quint16 probePort) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    QDir().mkpath(drive);
    environment.insert(QStringLiteral("DORVALA_DRIVE_C"), drive);
    environment.insert(QStringLiteral("DORVALA_MATCH_PORT"), QString::number(m_matchPort));
    environment.insert(QStringLiteral("DORVALA_PROBE_PORT"), QString::number(probePort));
    environment.insert(QStringLiteral("DORVALA_LOCAL_IP"), QStringLiteral("127.0.0.1"));
    environment.insert(QStringLiteral("DORVALA_FTP_URL"), m_ftpUrl);
    const QString platform = QGuiApplication::platformName();
    if (platform == QLatin1String("offscreen") || platform == QLatin1String("minimal"))
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    return environment;
}

QList<DemoStep> DemoDirector::startSteps()
{
    const std::array<quint16, 3> probes = freePorts();
    const QString program = QCoreApplication::applicationFilePath();
    const QString control = QStringLiteral("--control");
    QList<DemoStep> steps;

    const QProcessEnvironment hostEnvironment = playerEnvironment(m_work.filePath(QStringLiteral("host-C")), probes[0]);
    QStringList hostArguments{control};
    if (m_lobby)
        hostArguments << QStringLiteral("--host") << QStringLiteral("--name") << DemoScript::hostName();
    steps.append({QStringLiteral("the host opens its match screen"),
                  [this, program, hostArguments, hostEnvironment] {
                      m_host->start(program, hostArguments, hostEnvironment);
                      if (!m_lobby)
                          m_host->command(QStringLiteral("open host ") + DemoScript::hostName());
                  },
                  [this] { return opened(*m_host, QStringLiteral("host")); }, {},
                  [this] { return boxShown(*m_host); }, StartTimeout});

    const QProcessEnvironment joinEnvironment = playerEnvironment(m_work.filePath(QStringLiteral("join-C")), probes[1]);
    QStringList joinArguments{control};
    if (m_lobby)
        joinArguments << QStringLiteral("--join") << QStringLiteral("127.0.0.1") << QStringLiteral("--name")
                      << DemoScript::joinName();
    steps.append({QStringLiteral("the joiner opens its match screen"),
                  [this, program, joinArguments, joinEnvironment] {
                      m_join->start(program, joinArguments, joinEnvironment);
                      if (!m_lobby)
                          m_join->command(QStringLiteral("open join ") + DemoScript::joinName());
                  },
                  [this] { return opened(*m_join, QStringLiteral("Join")); }, {},
                  [this] { return boxShown(*m_join); }, StartTimeout});
    return steps;
}

void DemoDirector::begin()
{
    m_host = new ControlClient(QStringLiteral("host"), this);
    m_join = new ControlClient(QStringLiteral("join"), this);
    for (ControlClient *player : {m_host, m_join}) {
        connect(player, &ControlClient::activity, this, &DemoDirector::check);
        connect(player, &ControlClient::finished, this, [this, player] { playerEnded(player); });
    }
    m_script = std::make_unique<DemoScript>(*m_host, *m_join, m_folder);
    // In this order: the screenshots are numbered as the steps are made.
    m_steps = startSteps();
    m_steps += m_script->opening();
    m_steps += m_script->match();
    m_index = -1;
    advance();
}

void DemoDirector::advance()
{
    while (!m_finishing) {
        m_waiting = false;
        if (++m_index >= m_steps.size()) {
            finish({});
            return;
        }
        const DemoStep &step = m_steps[m_index];
        say(QStringLiteral("[%1 s] %2").arg(double(m_clock.elapsed()) / 1000, 6, 'f', 1).arg(step.what));
        if (step.act)
            step.act();
        if (step.done && !step.done()) {
            m_waiting = true;
            m_stepTimer->start(step.timeoutMs);
            if (step.poll) {
                step.poll();
                m_pollTimer->start();
            }
            return;
        }
        if (!passes(step))
            return;
    }
}

void DemoDirector::check()
{
    if (!m_waiting || m_finishing)
        return;
    const DemoStep &step = m_steps[m_index];
    if (!step.done())
        return;
    m_waiting = false;
    m_stepTimer->stop();
    m_pollTimer->stop();
    if (passes(step))
        advance();
}

bool DemoDirector::passes(const DemoStep &step)
{
    const QString problem = step.check ? step.check() : QString();
    if (problem.isEmpty())
        return true;
    finish(step.what + QStringLiteral(": ") + problem);
    return false;
}

void DemoDirector::timedOut()
{
    if (!m_waiting)
        return;
    const DemoStep &step = m_steps[m_index];
    QString reason = QStringLiteral("%1: nothing came of it within %2 s").arg(step.what).arg(step.timeoutMs / 1000);
    for (ControlClient *player : {m_host, m_join}) {
        if (!player->answers().isEmpty())
            reason += QStringLiteral("; %1 last answered \"%2\"").arg(player->label(), player->answers().last());
    }
    finish(reason);
}

void DemoDirector::playerEnded(ControlClient *player)
{
    if (!m_finishing) {
        finish(QStringLiteral("the %1 program ended in the middle of the match (status %2)\n%3")
                   .arg(player->label())
                   .arg(player->exitCode())
                   .arg(player->errorTail().right(2000)));
        return;
    }
    if (!m_host->isRunning() && !m_join->isRunning())
        conclude();
}

void DemoDirector::finish(const QString &failure)
{
    if (m_finishing)
        return;
    m_finishing = true;
    m_waiting = false;
    m_failure = failure;
    m_stepTimer->stop();
    m_pollTimer->stop();
    if (!m_host) {
        conclude();
        return;
    }
    // Each closes its screen as from the title bar: the host withdraws its registry entry.
    bool running = false;
    for (ControlClient *player : {m_host, m_join}) {
        if (player->isRunning()) {
            player->command(QStringLiteral("quit"));
            running = true;
        }
    }
    if (!running) {
        conclude();
        return;
    }
    m_endTimer->start(EndTimeout);
}

QString DemoDirector::afterwards() const
{
    for (ControlClient *player : {m_host, m_join}) {
        if (player->exitCode() != 0)
            return QStringLiteral("the %1 program ended with status %2").arg(player->label()).arg(player->exitCode());
    }
    const struct { QString side; QString drive; int total; } files[] = {
        {QStringLiteral("host"), QStringLiteral("host-C"), m_script->hostTotal()},
        {QStringLiteral("joiner"), QStringLiteral("join-C"), m_script->joinTotal()},
    };
    for (const auto &file : files) {
        const QString saved = RtfDocument::load(m_work.filePath(file.drive + QStringLiteral("/dvq")));
        if (saved != QString::number(file.total))
            return QStringLiteral("the %1's score file holds \"%2\", its screen showed %3")
                .arg(file.side, saved)
                .arg(file.total);
    }
    if (m_registry && QFileInfo::exists(QDir(m_registry->root()).filePath(QStringLiteral("127.0.0.1"))))
        return QStringLiteral("the host's registry entry 127.0.0.1 was not withdrawn");
    for (const QString &shot : m_script->shots()) {
        if (!QFileInfo(shot).isFile())
            return QStringLiteral("screenshot missing: ") + shot;
    }
    return {};
}

void DemoDirector::conclude()
{
    if (m_concluded)
        return;
    m_concluded = true;
    m_endTimer->stop();
    if (m_failure.isEmpty() && m_script)
        m_failure = afterwards();

    if (m_host && m_join) {
        say(QString());
        say(QStringLiteral("What crossed the wire (times on the shared monotonic clock):"));
        const QStringList lines = DemoTranscript::lines({DemoScript::hostName(), m_host->events()},
                                                        {DemoScript::joinName(), m_join->events()});
        for (const QString &line : lines)
            say(line);
        say(QString());
    }
    if (m_script) {
        const QStringList planned = m_script->shots();
        const auto saved = std::count_if(planned.begin(), planned.end(),
                                         [](const QString &file) { return QFileInfo(file).isFile(); });
        say(QStringLiteral("Screenshots: %1 (%2 of %3 files)").arg(m_folder).arg(saved).arg(planned.size()));
    }
    if (m_registry)
        m_registry->stop();

    if (m_failure.isEmpty()) {
        say(QStringLiteral("Demo passed: both screens agreed on every verdict and total (host %1, joiner %2)%3.")
                .arg(m_script->hostTotal())
                .arg(m_script->joinTotal())
                .arg(m_lobby ? QString() : QStringLiteral(", without the lobby step")));
        emit done(0);
    } else {
        say(QStringLiteral("Demo FAILED: ") + m_failure);
        emit done(1);
    }
}
