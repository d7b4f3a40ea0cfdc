#include "shell/program.h"

#include <QtTest>

class ProgramTest : public QObject
{
    Q_OBJECT

private slots:
    void parse_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<bool>("exitNow");
        QTest::addColumn<bool>("host");
        QTest::addColumn<QString>("join");
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("control");
        QTest::addColumn<QString>("demo");
        const QString x = QStringLiteral("dorvala");
        QTest::newRow("title") << QStringList{x} << true << false << false << "" << "" << false
                               << "";
        QTest::newRow("host") << QStringList{x, "--host", "--name", "Budi"} << true << false
                              << true << "" << "Budi" << false << "";
        QTest::newRow("join") << QStringList{x, "--join", "127.0.0.1", "--name", "Sari"} << true
                              << false << false << "127.0.0.1" << "Sari" << false << "";
        QTest::newRow("help") << QStringList{x, "--help"} << true << true << false << "" << ""
                              << false << "";
        QTest::newRow("version") << QStringList{x, "--version"} << true << true << false << ""
                                 << "" << false << "";
        QTest::newRow("both") << QStringList{x, "--host", "--join", "1.2.3.4"} << false << false
                              << true << "1.2.3.4" << "" << false << "";
        QTest::newRow("join without address") << QStringList{x, "--join"} << false << false
                                              << false << "" << "" << false << "";
        QTest::newRow("controlled host") << QStringList{x, "--control", "--host", "--name", "Budi"}
                                         << true << false << true << "" << "Budi" << true << "";
        QTest::newRow("controlled title") << QStringList{x, "--control"} << true << false << false
                                          << "" << "" << true << "";
        QTest::newRow("demo") << QStringList{x, "--demo", "demo-shots"} << true << false << false
                              << "" << "" << false << "demo-shots";
        QTest::newRow("demo without folder") << QStringList{x, "--demo"} << false << false << false
                                             << "" << "" << false << "";
        QTest::newRow("demo with empty folder") << QStringList{x, "--demo", ""} << false << false
                                                << false << "" << "" << false << "";
        // The demo starts its own controlled players; it cannot be one itself.
        QTest::newRow("demo and host") << QStringList{x, "--demo", "d", "--host"} << false << false
                                       << true << "" << "" << false << "d";
        QTest::newRow("demo and control") << QStringList{x, "--demo", "d", "--control"} << false
                                          << false << false << "" << "" << true << "d";
        QTest::newRow("unknown option") << QStringList{x, "--bogus"} << false << false << false
                                        << "" << "" << false << "";
    }

    void parse()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, ok);
        QFETCH(bool, exitNow);
        QFETCH(bool, host);
        QFETCH(QString, join);
        QFETCH(QString, name);
        QFETCH(bool, control);
        QFETCH(QString, demo);
        const Program::Options options = Program::parse(arguments);
        QCOMPARE(options.ok, ok);
        QCOMPARE(options.exitNow, exitNow);
        if (ok && !exitNow) {
            QCOMPARE(options.host, host);
            QCOMPARE(options.join, join);
            QCOMPARE(options.name, name);
            QCOMPARE(options.control, control);
            QCOMPARE(options.demo, demo);
        }
        if (!ok || exitNow)
            QVERIFY(!options.message.isEmpty());
    }
};

QTEST_GUILESS_MAIN(ProgramTest)
#include "tst_program.moc"
