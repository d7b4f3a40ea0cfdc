#include "program.h"

#include "control/control_channel.h"
#include "demo/demo_director.h"
#include "platform/end_requests.h"
#include "platform/settings.h"
#include "shell/login_screen.h"
#include "shell/screens.h"
#include "shell/title_screen.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QCoreApplication>
#include <QLineEdit>
#include <QPointer>
#include <QTimer>

#include <cstdio>

Program::Options Program::parse(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Dorvala Online: permainan duel dua pemain."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Tampilkan bantuan ini."));
    const QCommandLineOption version(QStringLiteral("version"), QStringLiteral("Tampilkan versi."));
    const QCommandLineOption host(QStringLiteral("host"), QStringLiteral("Langsung jadi tuan rumah."));
    const QCommandLineOption join(QStringLiteral("join"),
                                  QStringLiteral("Langsung bergabung ke alamat tuan rumah."),
                                  QStringLiteral("ADDRESS"));
    const QCommandLineOption name(QStringLiteral("name"), QStringLiteral("Nama pemain."),
                                  QStringLiteral("NAME"));
    const QCommandLineOption demo(QStringLiteral("demo"),
                                  QStringLiteral("Mainkan pertandingan contoh, simpan gambar di DIR."),
                                  QStringLiteral("DIR"));
    const QCommandLineOption control(
        QStringLiteral("control"),
        QStringLiteral("Kendali dari luar: perintah di stdin, kejadian di stdout (otomasi)."));
    const QCommandLineOption registry(
        QStringLiteral("registry"),
        QStringLiteral("Server daftar tuan rumah, mis. ftp://dorvala@198.18.0.3:2121/ (kosong: tanpa "
                       "server daftar); mengalahkan DORVALA_FTP_URL dan Pengaturan."),
        QStringLiteral("URL"));
    const QCommandLineOption computer(
        QStringLiteral("computer"),
        QStringLiteral("Langsung berlatih melawan komputer: mudah, sedang atau sempurna."),
        QStringLiteral("LEVEL"));
    const QCommandLineOption mark(QStringLiteral("mark"),
                                  QStringLiteral("Saat berlatih: O (jalan duluan, bawaan) atau X."),
                                  QStringLiteral("O|X"));
    parser.addOptions({help, version, host, join, name, demo, control, registry, computer, mark});
    // The parser names the program only once the application object exists, and the
    // command line is read before that.
    QString program = QFileInfo(arguments.value(0)).fileName();
    if (program.isEmpty())
        program = QStringLiteral("dorvala");
    const auto helpText = [&parser, &program] {
        return parser.helpText().replace(QLatin1String("<executable_name>"), program);
    };

    Options options;
    if (!parser.parse(arguments)) {
        options.ok = false;
        options.message = parser.errorText() + u'\n' + helpText();
        return options;
    }
    if (parser.isSet(help)) {
        options.exitNow = true;
        options.message = helpText();
        return options;
    }
    if (parser.isSet(version)) {
        options.exitNow = true;
        options.message = QStringLiteral("Dorvala Online ") + QCoreApplication::applicationVersion();
        return options;
    }
    options.host = parser.isSet(host);
    options.join = parser.value(join);
    options.name = parser.value(name);
    options.nameGiven = parser.isSet(name);
    if (parser.isSet(registry))
        options.registry = parser.value(registry).isNull() ? QStringLiteral("") : parser.value(registry);
    options.demo = parser.value(demo);
    options.control = parser.isSet(control);
    if (parser.isSet(computer))
        options.computer = ComputerLevels::fromName(parser.value(computer));
    const QString markText = parser.value(mark).toUpper();
    options.playX = markText == QLatin1String("X");
    if (parser.isSet(computer) && !options.computer) {
        options.ok = false;
        options.message = QStringLiteral("--computer membutuhkan tingkat: mudah, sedang atau sempurna.\n")
                          + helpText();
    } else if (parser.isSet(mark) && markText != QLatin1String("O") && markText != QLatin1String("X")) {
        options.ok = false;
        options.message = QStringLiteral("--mark membutuhkan O atau X.\n") + helpText();
    } else if (parser.isSet(mark) && !options.computer) {
        options.ok = false;
        options.message = QStringLiteral("--mark hanya untuk --computer.\n") + helpText();
    } else if (options.computer && (options.host || parser.isSet(join) || parser.isSet(demo))) {
        options.ok = false;
        options.message = QStringLiteral("--computer bermain tanpa jaringan: tanpa --host, --join "
                                         "atau --demo.\n")
                          + helpText();
    } else if (options.host && parser.isSet(join)) {
        options.ok = false;
        options.message = QStringLiteral("Pilih salah satu: --host atau --join.\n") + helpText();
    } else if (parser.isSet(join) && options.join.isEmpty()) {
        options.ok = false;
        options.message = QStringLiteral("--join membutuhkan alamat tuan rumah.\n") + helpText();
    } else if (parser.isSet(demo) && options.demo.isEmpty()) {
        options.ok = false;
        options.message = QStringLiteral("--demo membutuhkan folder untuk gambar.\n") + helpText();
    } else if (parser.isSet(demo) && (options.host || parser.isSet(join) || options.control)) {
        options.ok = false;
        options.message = QStringLiteral("--demo memainkan kedua pemain sendiri: tanpa --host, --join "
                                         "atau --control.\n")
                          + helpText();
    }
    return options;
}

Program::Program(Screens &screens)
    : m_screens(screens)
{
}

void Program::start(const Options &options)
{
    if (!options.registry.isNull())
        Settings::setCommandLineRegistry(options.registry);
    if (!options.demo.isEmpty()) {
        auto *director = new DemoDirector(options.demo, this);
        connect(director, &DemoDirector::done, this, [](int status) { QCoreApplication::exit(status); });
        director->start();
        return;
    }
    if (options.control) {
        m_control = new ControlChannel(m_screens, this);
        if (!m_control->listenOnStandardInput())
            std::fputs("--control: standard input cannot be watched here\n", stderr);
    }
    if (options.computer) {
        // Straight to the board: the setup screen would reach for the registry, and practice
        // needs no network at all.
        m_screens.startPractice(*options.computer, options.playX ? MatchSide::Join : MatchSide::Host,
                                options.name, {}, false);
        return;
    }
    TitleScreen *title = m_screens.openi();
    title->show();
    // Values left out of the settings are told on stderr at the start, not when first used.
    QTimer::singleShot(500, this, [] { Settings::game(); });
    if (options.host || !options.join.isEmpty()) {
        // After the title window is up, as a player's click would come.
        QTimer::singleShot(0, this, [this, options] { quickStart(options); });
    }
}

void Program::quickStart(const Options &options)
{
    // The setup screen's choices follow once the title's "Mulai" has opened it and the title
    // screen is gone, as for a player, whose click comes later: its pictures would otherwise
    // still be held while the match screen is made.
    const QPointer<TitleScreen> title = m_screens.openi();
    connect(
        &m_screens, &Screens::loginOpened, this,
        [this, options, title](int error) {
            if (error != 0 || !m_screens.isLoaded(QStringLiteral("login")))
                return;  // the title screen says why
            if (title)
                connect(title, &QObject::destroyed, this, [this, options] { chooseOnLogin(options); });
            else
                chooseOnLogin(options);
        },
        Qt::SingleShotConnection);
    title->Play_Click();
}

void Program::chooseOnLogin(const Options &options)
{
    if (!m_screens.isLoaded(QStringLiteral("login")))
        return;
    LoginScreen *login = m_screens.login();
    if (options.nameGiven)
        login->UN()->setText(options.name);
    if (!options.join.isEmpty()) {
        login->Image2_Click();
        login->HIP()->setText(options.join);
    } else {
        login->Image1_Click();
    }
    login->Play_Click();
}

void Program::watchSignals()
{
    auto *requests = new EndRequests(this);
    connect(requests, &EndRequests::requested, this, &Program::onSignal);
    requests->watch();
}

void Program::onSignal()
{
    m_screens.closeAllAndQuit();
}
