#include "app/program.h"

#include <QtTest>

namespace {

// The options in a few words: "error" or "exit" (each with its message), else what to start.
QString outcome(const Program::Options &options)
{
    if (!options.ok || options.exitNow) {
        if (options.message.isEmpty())
            return QStringLiteral("no message");
        return options.ok ? QStringLiteral("exit") : QStringLiteral("error");
    }
    QStringList parts;
    if (options.host)
        parts << QStringLiteral("host");
    if (!options.join.isEmpty())
        parts << QStringLiteral("join ") + options.join;
    if (!options.name.isEmpty())
        parts << QStringLiteral("name ") + options.name;
    if (options.control)
        parts << QStringLiteral("control");
    if (!options.demo.isEmpty())
        parts << QStringLiteral("demo ") + options.demo;
    if (!options.registry.isNull())
        parts << QStringLiteral("registry ") + (options.registry.isEmpty() ? QStringLiteral("none") : options.registry);
    if (options.computer)
        parts << QStringLiteral("computer ") + ComputerLevels::name(*options.computer)
                     + (options.playX ? QStringLiteral(" as X") : QStringLiteral(" as O"));
    return parts.join(QStringLiteral(", "));
}

} // namespace

class ProgramTest : public QObject
{
    Q_OBJECT

private slots:
    void parse_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("title") << QStringList{} << "";
        QTest::newRow("host") << QStringList{"--host", "--name", "Budi"} << "host, name Budi";
        QTest::newRow("join") << QStringList{"--join", "127.0.0.1", "--name", "Sari"}
                              << "join 127.0.0.1, name Sari";
        QTest::newRow("help") << QStringList{"--help"} << "exit";
        QTest::newRow("version") << QStringList{"--version"} << "exit";
        QTest::newRow("both") << QStringList{"--host", "--join", "1.2.3.4"} << "error";
        QTest::newRow("join without address") << QStringList{"--join"} << "error";
        QTest::newRow("controlled host") << QStringList{"--control", "--host", "--name", "Budi"}
                                         << "host, name Budi, control";
        QTest::newRow("controlled title") << QStringList{"--control"} << "control";
        QTest::newRow("demo") << QStringList{"--demo", "demo-shots"} << "demo demo-shots";
        QTest::newRow("demo without folder") << QStringList{"--demo"} << "error";
        QTest::newRow("demo with empty folder") << QStringList{"--demo", ""} << "error";
        // The demo starts its own controlled players; it cannot be one itself.
        QTest::newRow("demo and host") << QStringList{"--demo", "d", "--host"} << "error";
        QTest::newRow("demo and control") << QStringList{"--demo", "d", "--control"} << "error";
        QTest::newRow("registry") << QStringList{"--registry", "ftp://dorvala@198.18.0.3:2121/", "--host"}
                                  << "host, registry ftp://dorvala@198.18.0.3:2121/";
        QTest::newRow("registry none") << QStringList{"--registry", ""} << "registry none";
        // A bad address is left out when the settings are read, with a sentence: the start goes on.
        QTest::newRow("registry not ftp") << QStringList{"--registry", "http://x/"} << "registry http://x/";
        QTest::newRow("unknown option") << QStringList{"--bogus"} << "error";
        QTest::newRow("computer") << QStringList{"--computer", "sempurna"} << "computer sempurna as O";
        QTest::newRow("computer, X, any case")
            << QStringList{"--computer", "Mudah", "--mark", "x"} << "computer mudah as X";
        QTest::newRow("computer, controlled")
            << QStringList{"--control", "--computer", "sedang", "--mark", "O", "--name", "Ani"}
            << "name Ani, control, computer sedang as O";
        QTest::newRow("computer, unknown level") << QStringList{"--computer", "hard"} << "error";
        QTest::newRow("computer, bad mark") << QStringList{"--computer", "mudah", "--mark", "Z"} << "error";
        QTest::newRow("mark alone") << QStringList{"--mark", "X"} << "error";
        QTest::newRow("computer and host") << QStringList{"--computer", "mudah", "--host"} << "error";
        QTest::newRow("computer and demo") << QStringList{"--computer", "mudah", "--demo", "d"} << "error";
    }

    void parse()
    {
        QFETCH(QStringList, arguments);
        QTEST(outcome(Program::parse(QStringList{QStringLiteral("dorvala")} + arguments)),
              "outcome");
    }
};

QTEST_GUILESS_MAIN(ProgramTest)
#include "tst_program.moc"
