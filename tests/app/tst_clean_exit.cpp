#include "support/ftp_server.h"
#include "support/match_env.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

// A hosting program ended by SIGINT, SIGTERM or the automation's "quit" closes its screens
// as their title-bar close would: the registry entry is withdrawn, pending transfers
// finish, and it exits with 0.
class CleanExitTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY2(m_ftp.start(), qPrintable(m_ftp.error())); }

    void endsCleanly_data()
    {
        QTest::addColumn<QString>("how");
#ifdef Q_OS_UNIX
        QTest::newRow("SIGTERM") << "SIGTERM";
        QTest::newRow("SIGINT") << "SIGINT";
#endif
        // Input ending right after "quit", as when a director exits: the second quit that
        // the end of input stands for must not cut short the wait for the withdrawal.
        QTest::newRow("quit, then input ends") << "quit";
        // Waiting in the input before the first turn of the event loop, which is when the
        // quick start opens the host screen.
        QTest::newRow("quit at once") << "quit at once";
    }

    void endsCleanly()
    {
        QFETCH(QString, how);
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
        QStringList arguments{"--host", "--name", "Budi"};
        if (how.startsWith(QLatin1String("quit")))
            arguments.prepend(QStringLiteral("--control"));
        game.start(QStringLiteral(DORVALA_BIN_DIR "/dorvala"), arguments);
        QVERIFY(game.waitForStarted());
        const auto quit = [&game] {
            game.write("quit\n");
            game.closeWriteChannel();
        };

        if (how == QLatin1String("quit at once")) {
            quit();
        } else {
            // The host publishes itself under its address once its screen is open.
            QTRY_VERIFY_WITH_TIMEOUT(m_ftp.entries().contains(QStringLiteral("127.0.0.1")), 20000);
            QVERIFY(QFile::exists(drive.filePath(QStringLiteral("-Budi"))));
            if (how == QLatin1String("quit"))
                quit();
#ifdef Q_OS_UNIX
            else
                ::kill(pid_t(game.processId()), how == QLatin1String("SIGINT") ? SIGINT : SIGTERM);
#endif
        }
        QVERIFY(game.waitForFinished(30000));
        QCOMPARE(game.exitStatus(), QProcess::NormalExit);
        QCOMPARE(game.exitCode(), 0);
        QVERIFY(!m_ftp.entries().contains(QStringLiteral("127.0.0.1")));
    }

private:
    FtpServer m_ftp;
};

QTEST_GUILESS_MAIN(CleanExitTest)
#include "tst_clean_exit.moc"
