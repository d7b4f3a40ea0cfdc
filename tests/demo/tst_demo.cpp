#include "support/match_env.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

// `dorvala --demo DIR` as a user runs it: a whole self-played match that ends with status 0
// and leaves screenshots of both screens at every key moment.
class DemoTest : public QObject
{
    Q_OBJECT

private slots:
    void demoPlaysAMatchAndLeavesScreenshots_data()
    {
        QTest::addColumn<bool>("besideTheBuild");
        QTest::addColumn<bool>("registryDown");
        QTest::addColumn<QString>("registryCommand");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("line");
        // A copy of the program alone, told where the registry is.
        QTest::newRow("registry named in the environment")
            << false << false << "/usr/bin/python3 " DORVALA_SOURCE_DIR "/scripts/registry.py" << 0
            << "(started for the demo)";
        // Nothing beside the copy, nothing on PATH, nothing named.
        QTest::newRow("no registry to be found") << false << false << "" << 0
                                                 << "the lobby step is skipped";
        // A configured registry that does not answer stops the players at the title screen.
        QTest::newRow("configured registry down") << true << true << "" << 1
                                                  << "Demo FAILED: the host opens its match screen: "
                                                     "it showed the message \"Internetr Bermasalah!";
    }

    void demoPlaysAMatchAndLeavesScreenshots()
    {
        QFETCH(bool, besideTheBuild);
        QFETCH(bool, registryDown);
        QFETCH(QString, registryCommand);
        QFETCH(int, status);
        QFETCH(QString, line);
        QTemporaryDir work;
        QVERIFY(work.isValid());
        QString program = QStringLiteral(DORVALA_BIN_DIR "/dorvala");
        if (!besideTheBuild) {
            QVERIFY(QDir(work.path()).mkpath("alone/bin"));
            const QString copy = work.filePath("alone/bin/dorvala");
            QVERIFY(QFile::copy(program, copy));
            program = copy;
        }
        const QString shots = work.filePath("shots");

        QProcess demo;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove("DORVALA_FTP_URL");
        environment.remove("DORVALA_REGISTRY");
        if (!registryCommand.isEmpty())
            environment.insert("DORVALA_REGISTRY", registryCommand);
        environment.insert("PATH", work.path());  // no dorvala-registry to be found there
        if (registryDown)
            environment.insert("DORVALA_FTP_URL", QStringLiteral("ftp://dorvala@127.0.0.1:%1/")
                                                      .arg(MatchEnv::freePort()));
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        demo.setProcessEnvironment(environment);
        QSignalSpy finished(&demo, &QProcess::finished);
        demo.start(program, {"--demo", shots});
        QVERIFY2(demo.waitForStarted(30000), qPrintable(demo.errorString()));
        QVERIFY(finished.wait(300000));
        const QString output = QString::fromLocal8Bit(demo.readAllStandardOutput());
        QVERIFY2(demo.exitStatus() == QProcess::NormalExit && demo.exitCode() == status,
                 qPrintable(output + QString::fromLocal8Bit(demo.readAllStandardError())));
        QVERIFY2(output.contains(line), qPrintable(output));
        if (status != 0)
            return;

        QVERIFY(output.contains("Demo passed"));
        // The transcript shows the opening exchange and the triple's move.
        QVERIFY(output.contains(QRegularExpression("Budi +Sari +\"OBudi\" +\\+\\d")));
        QVERIFY(output.contains(QRegularExpression("Budi +Sari +\"B2\" +\\+[\\d.]+ ms +\\+[\\d.]+ ms")));

        // Both screens at every key moment, whole.
        const QStringList files = QDir(shots).entryList({"*.png"}, QDir::Files, QDir::Name);
        QCOMPARE(files.size(), 20);
        for (const char *name : {"01-connected-host.png", "09-plus-triple-join.png"})
            QCOMPARE(QImage(QDir(shots).filePath(QLatin1String(name))).size(), QSize(640, 480));
    }
};

QTEST_GUILESS_MAIN(DemoTest)
#include "tst_demo.moc"
