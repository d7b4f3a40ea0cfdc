#include "support/fake_natpmp_router.h"
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
        QTest::addColumn<bool>("router");  // behind a home router that maps its ports
#ifdef Q_OS_UNIX
        QTest::newRow("SIGTERM") << "SIGTERM" << false;
        QTest::newRow("SIGINT") << "SIGINT" << false;
        QTest::newRow("SIGTERM, ports mapped") << "SIGTERM" << true;
#endif
        // Input ending right after "quit", as when a director exits: the second quit that
        // the end of input stands for must not cut short the wait for the withdrawal.
        QTest::newRow("quit, then input ends") << "quit" << false;
        QTest::newRow("quit, ports mapped") << "quit" << true;
        // Waiting in the input before the first turn of the event loop, which is when the
        // quick start opens the host screen.
        QTest::newRow("quit at once") << "quit at once" << false;
        // Gone while the router is still being asked.
        QTest::newRow("quit at once, router") << "quit at once" << true;
    }

    void endsCleanly()
    {
        QFETCH(QString, how);
        QFETCH(bool, router);
        FakeNatPmpRouter home;
        home.externalAddress = 0xC6130007;  // 198.19.0.7
        const QString entry = router ? QStringLiteral("198.19.0.7") : QStringLiteral("127.0.0.1");
        QTemporaryDir drive;
        QProcess game;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("DORVALA_LOCAL_IP"), QStringLiteral("127.0.0.1"));
        env.insert(QStringLiteral("DORVALA_DRIVE_C"), drive.path());
        env.insert(QStringLiteral("DORVALA_FTP_URL"), m_ftp.url());
        env.insert(QStringLiteral("DORVALA_MATCH_PORT"), QString::number(MatchEnv::freePort()));
        env.insert(QStringLiteral("DORVALA_PROBE_PORT"), QString::number(MatchEnv::freePort()));
        if (router) {
            env.insert(QStringLiteral("DORVALA_ROUTER"), QStringLiteral("127.0.0.1:%1").arg(home.port()));
            env.insert(QStringLiteral("DORVALA_PUBLIC_NETS"), QStringLiteral("198.19.0.0/16"));
        }
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
            QTRY_VERIFY_WITH_TIMEOUT(m_ftp.entries().contains(entry), 20000);
            QCOMPARE(home.mappings.size(), router ? 2 : 0);
            QVERIFY(QFile::exists(drive.filePath(QStringLiteral("-Budi"))));
            if (how == QLatin1String("quit"))
                quit();
#ifdef Q_OS_UNIX
            else
                ::kill(pid_t(game.processId()), how == QLatin1String("SIGINT") ? SIGINT : SIGTERM);
#endif
        }
        // The fake router answers through this event loop while the game ends.
        QTRY_COMPARE_WITH_TIMEOUT(game.state(), QProcess::NotRunning, 30000);
        QCOMPARE(game.exitStatus(), QProcess::NormalExit);
        QCOMPARE(game.exitCode(), 0);
        QVERIFY(m_ftp.entries().isEmpty());
        QCOMPARE(home.mappings.size(), 0);
    }

private:
    FtpServer m_ftp;
};

QTEST_GUILESS_MAIN(CleanExitTest)
#include "tst_clean_exit.moc"
