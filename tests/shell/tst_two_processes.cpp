#include "shell/control_client.h"

#include "platform/rtf_document.h"
#include "support/ftp_server.h"
#include "support/match_env.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

// Two real programs on one machine, a host and a joiner started from the command line as
// players would start them, with a real registry, driven through their control channels.
// Each side wins one line; both screens must agree on the verdicts and the totals, the
// score files must keep them, and the host's registry entry must go when it quits.
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

        // Both names made it from the command line onto both screens.
        const QJsonObject host = stateOf(*m_host);
        const QJsonObject join = stateOf(*m_join);
        QCOMPARE(host.value("screens").toArray(), QJsonArray{"host"});
        QCOMPARE(join.value("screens").toArray(), QJsonArray{"Join"});
        // The joiner's setup screen, hidden behind it, listed the host's entry.
        QCOMPARE(join.value("HO").toObject().value("items").toArray(), QJsonArray{"127.0.0.1"});
        for (const QJsonObject &state : {host, join}) {
            QCOMPARE(state.value("Oname").toString(), QStringLiteral("Budi"));
            QCOMPARE(state.value("Xname").toString(), QStringLiteral("Sari"));
            QVERIFY(state.value("connected").toBool());
        }
    }

    void hostWinsTheLeftColumn()
    {
        QVERIFY(m_host && m_join);
        // The joiner plays B1 and C3: no line of its own before the host's A3.
        for (const QString &move : QStringList{"host A1", "join B1", "host A2", "join C3", "host A3"})
            QVERIFY2(play(move), qPrintable(move));
        QTRY_COMPARE_WITH_TIMEOUT(m_host->payloads("verdict"), QStringList{"Anda Menang!"}, 30000);
        QTRY_COMPARE_WITH_TIMEOUT(m_join->payloads("verdict"), QStringList{"Anda Kalah!"}, 30000);
        // Saved before the verdict was announced.
        QCOMPARE(RtfDocument::load(m_hostDrive.filePath("dvq")), QStringLiteral("1"));
        QCOMPARE(RtfDocument::load(m_joinDrive.filePath("dvq")), QStringLiteral("-1"));
        restartAndCompareTotals(1, -1);
    }

    void joinerWinsTheRightColumn()
    {
        QVERIFY(m_host && m_join);
        // The host moved last, so the joiner opens the new game.
        for (const QString &move : QStringList{"join C1", "host A1", "join C2", "host A3", "join C3"})
            QVERIFY2(play(move), qPrintable(move));
        QTRY_COMPARE_WITH_TIMEOUT(m_host->payloads("verdict"),
                                  (QStringList{"Anda Menang!", "Anda Kalah!"}), 30000);
        QTRY_COMPARE_WITH_TIMEOUT(m_join->payloads("verdict"),
                                  (QStringList{"Anda Kalah!", "Anda Menang!"}), 30000);
        restartAndCompareTotals(0, 0);
    }

    void quitWithdrawsTheEntryAndKeepsTheScores()
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
        QCOMPARE(RtfDocument::load(m_hostDrive.filePath("dvq")), QStringLiteral("0"));
        QCOMPARE(RtfDocument::load(m_joinDrive.filePath("dvq")), QStringLiteral("0"));
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

    // "host A1": the host clicks A1, sends it, and the joiner receives it.
    bool play(const QString &move)
    {
        const bool byHost = move.startsWith(QLatin1String("host"));
        ControlClient &mover = byHost ? *m_host : *m_join;
        ControlClient &other = byHost ? *m_join : *m_host;
        const QString cell = move.section(u' ', 1);
        const int mark = other.mark();
        const int sent = mover.mark();
        mover.command(QStringLiteral("click ") + cell);
        return QTest::qWaitFor([&] { return other.seen("received", cell, mark); }, 30000)
               && mover.seen("sent", cell, sent);
    }

    QJsonObject stateOf(ControlClient &player)
    {
        const int before = player.stateCount();
        player.command(QStringLiteral("state"));
        if (!QTest::qWaitFor([&] { return player.stateCount() > before; }, 30000))
            return {};
        return player.state();
    }

    void restartAndCompareTotals(int host, int join)
    {
        const int joinMark = m_join->mark();
        const int hostMark = m_host->mark();
        m_host->command(QStringLiteral("restart"));
        // The joiner answers the restart with its total, the host with its own.
        QTRY_VERIFY_WITH_TIMEOUT(m_join->seen("received", "X", joinMark), 30000);
        QTRY_VERIFY_WITH_TIMEOUT(m_host->seen("received", "$" + QString::number(join), hostMark), 30000);
        QTRY_VERIFY_WITH_TIMEOUT(m_join->seen("received", "$" + QString::number(host), joinMark), 30000);
        const QJsonObject h = stateOf(*m_host);
        const QJsonObject j = stateOf(*m_join);
        QCOMPARE(h.value("WR").toString(), QString::number(host));
        QCOMPARE(j.value("WRL2").toString(), QString::number(host));
        QCOMPARE(j.value("WR").toString(), QString::number(join));
        QCOMPARE(h.value("WRL2").toString(), QString::number(join));
        for (const QJsonObject &state : {h, j}) {
            QVERIFY(!state.value("infox").toObject().value("visible").toBool());
            QCOMPARE(state.value("cells").toObject().value("A1").toString(), QString());
        }
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
