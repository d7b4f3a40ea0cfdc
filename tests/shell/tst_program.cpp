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
        const QString x = QStringLiteral("dorvala");
        QTest::newRow("title") << QStringList{x} << true << false << false << "" << "";
        QTest::newRow("host") << QStringList{x, "--host", "--name", "Budi"} << true << false
                              << true << "" << "Budi";
        QTest::newRow("join") << QStringList{x, "--join", "127.0.0.1", "--name", "Sari"} << true
                              << false << false << "127.0.0.1" << "Sari";
        QTest::newRow("help") << QStringList{x, "--help"} << true << true << false << "" << "";
        QTest::newRow("version") << QStringList{x, "--version"} << true << true << false << ""
                                 << "";
        QTest::newRow("both") << QStringList{x, "--host", "--join", "1.2.3.4"} << false << false
                              << true << "1.2.3.4" << "";
        QTest::newRow("join without address") << QStringList{x, "--join"} << false << false
                                              << false << "" << "";
        QTest::newRow("unknown option") << QStringList{x, "--bogus"} << false << false << false
                                        << "" << "";
    }

    void parse()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, ok);
        QFETCH(bool, exitNow);
        QFETCH(bool, host);
        QFETCH(QString, join);
        QFETCH(QString, name);
        const Program::Options options = Program::parse(arguments);
        QCOMPARE(options.ok, ok);
        QCOMPARE(options.exitNow, exitNow);
        if (ok && !exitNow) {
            QCOMPARE(options.host, host);
            QCOMPARE(options.join, join);
            QCOMPARE(options.name, name);
        }
        if (!ok || exitNow)
            QVERIFY(!options.message.isEmpty());
    }
};

QTEST_GUILESS_MAIN(ProgramTest)
#include "tst_program.moc"
