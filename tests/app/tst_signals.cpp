#include "support/ftp_server.h"
#include "support/match_env.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

// A hosting program ended by SIGINT or SIGTERM closes its screens as their title-bar close
// would: the registry entry is withdrawn, pending transfers finish, and it exits with 0.
class SignalsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY2(m_ftp.start(), qPrintable(m_ftp.error())); }

    void endsCleanly_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << int(SIGTERM);
        QTest::newRow("SIGINT") << int(SIGINT);
    }

    void endsCleanly()
    {
        QFETCH(int, signal);
        QTemporaryDir drive;
        QProcess game;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("DORVALA_LOCAL_IP"), QStringLiteral("127.0.0.1"));
        env.insert(QStringLiteral("DORVALA_DRIVE_C"), drive.path());
        env.insert(QStringLiteral("DORVALA_FTP_URL"), m_ftp.url());
        env.insert(QStringLiteral("DORVALA_MATCH_PORT"), QString::number(MatchEnv::freePort()));
        env.insert(QStringLiteral("DORVALA_PROBE_PORT"), QString::number(MatchEnv::freePort()));
        game.setProcessEnvironment(env);
        game.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        game.start(QStringLiteral(DORVALA_BIN_DIR "/dorvala"),
                   {QStringLiteral("--host"), QStringLiteral("--name"), QStringLiteral("Budi")});
        QVERIFY(game.waitForStarted());

        // The host publishes itself under its address once its screen is open.
        QTRY_VERIFY_WITH_TIMEOUT(m_ftp.entries().contains(QStringLiteral("127.0.0.1")), 20000);
        QVERIFY(QFile::exists(drive.filePath(QStringLiteral("-Budi"))));

        ::kill(pid_t(game.processId()), signal);
        QVERIFY(game.waitForFinished(15000));
        QCOMPARE(game.exitStatus(), QProcess::NormalExit);
        QCOMPARE(game.exitCode(), 0);
        QVERIFY(!m_ftp.entries().contains(QStringLiteral("127.0.0.1")));
    }

private:
    FtpServer m_ftp;
};

QTEST_GUILESS_MAIN(SignalsTest)
#include "tst_signals.moc"
