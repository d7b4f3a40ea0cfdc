#include "control/control_client.h"

#include "support/ftp_server.h"
#include "support/match_env.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

// Two real programs on one machine, a host and a joiner started from the command line as
// players would start them, with a real registry, driven through their control channels:
// each opens its match screen alone, they meet, and when they quit the host's registry
// entry goes. The games, the totals saved and the names on both screens are the demo's.
class TwoProcessesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(m_ftp.start(), qPrintable(m_ftp.error()));
        QVERIFY(m_hostDrive.isValid() && m_joinDrive.isValid());
        m_matchPort = MatchEnv::freePort();
        QVERIFY(m_matchPort != 0);
    }

    void cleanupTestCase()
    {
        // Still running after a failure: closing their input ends them.
        m_host.reset();
        m_join.reset();
    }

    void quitAtOnceLeavesNothingListed()
    {
        // "quit" is waiting in the input before the program's first turn of its event loop,
        // which is when the quick start opens the host screen.
        auto early = start(QStringLiteral("early"), {"--host", "--name", "Budi"}, m_hostDrive.path());
        early->command(QStringLiteral("quit"));
        early->closeInput();
        QTRY_VERIFY_WITH_TIMEOUT(early->hasFinished(), 30000);
        QCOMPARE(early->exitCode(), 0);
        QVERIFY(!m_ftp.entries().contains("127.0.0.1"));
    }

    void bothStartAndConnect()
    {
        m_host = start(QStringLiteral("host"), {"--host", "--name", "Budi"}, m_hostDrive.path());
        QTRY_VERIFY2_WITH_TIMEOUT(m_host->seen("screen", "host"), diagnosis(*m_host), 60000);
        QTRY_VERIFY_WITH_TIMEOUT(m_ftp.entries().contains("127.0.0.1"), 30000);

        m_join = start(QStringLiteral("join"), {"--join", "127.0.0.1", "--name", "Sari"},
                       m_joinDrive.path());
        QTRY_VERIFY2_WITH_TIMEOUT(m_join->seen("screen", "Join"), diagnosis(*m_join), 60000);
        QTRY_VERIFY_WITH_TIMEOUT(m_host->seen("received", "XSari"), 30000);
        QTRY_VERIFY_WITH_TIMEOUT(m_join->seen("received", "OBudi") && m_join->seen("received", "$0"),
                                 30000);

        // The joiner's setup screen, hidden behind it, listed the host's entry.
        const QJsonObject join = stateOf(*m_join);
        QCOMPARE(join.value("screens").toArray(), QJsonArray{"Join"});
        QCOMPARE(join.value("HO").toObject().value("items").toArray(), QJsonArray{"127.0.0.1"});
    }

    void quitWithdrawsTheEntry()
    {
        QVERIFY(m_host && m_join);
        // Input ending right after "quit", as when a director exits: the second quit that
        // the end of input stands for must not cut short the wait for the withdrawal.
        for (ControlClient *player : {m_host.get(), m_join.get()}) {
            player->command(QStringLiteral("quit"));
            player->closeInput();
        }
        QTRY_VERIFY_WITH_TIMEOUT(m_host->hasFinished() && m_join->hasFinished(), 30000);
        QCOMPARE(m_host->exitCode(), 0);
        QCOMPARE(m_join->exitCode(), 0);
        // The host waits for its withdrawal before it ends.
        QVERIFY(!m_ftp.entries().contains("127.0.0.1"));
    }

private:
    std::unique_ptr<ControlClient> start(const QString &label, const QStringList &arguments,
                                         const QString &drive)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        environment.insert("DORVALA_LOCAL_IP", "127.0.0.1");
        environment.insert("DORVALA_MATCH_PORT", QString::number(m_matchPort));
        environment.insert("DORVALA_PROBE_PORT", QString::number(MatchEnv::freePort()));
        environment.insert("DORVALA_DRIVE_C", drive);
        environment.insert("DORVALA_FTP_URL", m_ftp.url());
        auto player = std::make_unique<ControlClient>(label);
        player->start(QStringLiteral(DORVALA_BIN_DIR "/dorvala"),
                      QStringList{"--control"} + arguments, environment);
        return player;
    }

    static const char *diagnosis(const ControlClient &player)
    {
        static QByteArray text;
        text = (player.label() + QStringLiteral(" did not open its screen; stderr: ")
                + player.errorTail().right(1500))
                   .toLocal8Bit();
        return text.constData();
    }

    QJsonObject stateOf(ControlClient &player)
    {
        const int before = player.stateCount();
        player.command(QStringLiteral("state"));
        if (!QTest::qWaitFor([&] { return player.stateCount() > before; }, 30000))
            return {};
        return player.state();
    }

    FtpServer m_ftp;
    QTemporaryDir m_hostDrive;
    QTemporaryDir m_joinDrive;
    quint16 m_matchPort = 0;
    std::unique_ptr<ControlClient> m_host;
    std::unique_ptr<ControlClient> m_join;
};

QTEST_GUILESS_MAIN(TwoProcessesTest)
#include "tst_two_processes.moc"
