#include "control/control_actions.h"
#include "control/control_channel.h"
#include "match/host_screen.h"
#include "shell/screens.h"


#include "support/match_env.h"

#include <QComboBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QMessageBox>
#include <QStandardPaths>
#include <QtTest>

// The control channel inside one process: a host and a joiner, each with its own screen
// registry and channel, driven by command lines as a director would. Clicks and keys go
// through the real widgets, so the overlay, the turn lock and disabled buttons decide.
class ControlChannelTest : public QObject
{
    Q_OBJECT

    struct Side
    {
        std::unique_ptr<Screens> screens;
        std::unique_ptr<ControlChannel> channel;
        QStringList lines;

        QString command(const QString &line)
        {
            const qsizetype before = lines.size();
            channel->handle(line);
            for (qsizetype i = before; i < lines.size(); ++i) {
                if (lines[i].startsWith(QLatin1String("ok ")) || lines[i].startsWith(QLatin1String("error "))
                    || lines[i].startsWith(QLatin1String("state ")))
                    return lines[i];
            }
            return {};
        }
        QJsonObject state()
        {
            return QJsonDocument::fromJson(command(QStringLiteral("state")).mid(6).toUtf8()).object();
        }
        // Payloads of the events of one kind, from line `from` on, without their times.
        QStringList events(const QString &kind, qsizetype from = 0) const
        {
            QStringList found;
            for (qsizetype i = from; i < lines.size(); ++i) {
                if (lines[i].startsWith(kind + u' '))
                    found << lines[i].mid(kind.size() + 1).section(u' ', 0, -2);
            }
            return found;
        }
    };

private slots:
    void initTestCase()
    {
        QVERIFY(m_env.isValid());
        // No registry: the lobby's transfers fail quietly and nothing leaves loopback.
        qputenv("DORVALA_FTP_URL", QByteArray("ftp://dorvala@127.0.0.1:")
                                       + QByteArray::number(MatchEnv::freePort()) + "/");
        qputenv("DORVALA_PROBE_PORT", QByteArray::number(MatchEnv::freePort()));
        for (Side *side : {&m_host, &m_join}) {
            side->screens = std::make_unique<Screens>();
            side->channel = std::make_unique<ControlChannel>(*side->screens);
            side->channel->setWriter([side](const QByteArray &line) {
                QVERIFY(line.endsWith('\n'));
                side->lines << QString::fromUtf8(line.chopped(1));
            });
        }
    }

    void cleanupTestCase()
    {
        for (Side *side : {&m_join, &m_host}) {
            side->channel.reset();
            side->screens.reset();
        }
    }

    void commandsNeedAMatchScreen()
    {
        QCOMPARE(m_host.command("click A1"), QStringLiteral("error click: no match screen is open"));
        QVERIFY(m_host.command("open sesame").startsWith(QLatin1String("error open:")));
        QCOMPARE(m_host.command("dismiss"), QStringLiteral("error dismiss: no message box is shown"));
        // The state answers all the same: the program is there, showing nothing yet.
        QCOMPARE(m_host.command("state"), QStringLiteral("state {\"screens\":[]}"));
    }

    void dismissPressesTheBoxButton()
    {
        // A box waits in an event loop of its own; the command must reach it there.
        QMessageBox box(QMessageBox::Warning, QStringLiteral("Judul"), QStringLiteral("Ada masalah"),
                        QMessageBox::Ok | QMessageBox::Cancel);
        box.setDefaultButton(QMessageBox::Ok);
        QTimer::singleShot(0, &box, [this] { m_host.command("dismiss"); });
        QCOMPARE(box.exec(), int(QMessageBox::Ok));
        QCOMPARE(m_host.events("box"), QStringList{"Judul: Ada masalah"});
        QCOMPARE(m_host.lines.last(), QStringLiteral("ok dismiss OK"));
    }

    void hostListStaysShort()
    {
        // What a registry lists reaches the state line: thousands of names, or a huge one.
        QComboBox list;
        list.addItem(QString(5000, u'x'));
        for (int i = 0; i < 1000; ++i)
            list.addItem(QStringLiteral("127.0.0.%1").arg(i));
        const QJsonObject shown = ControlActions::hostList(&list);
        QCOMPARE(shown.value("count").toInt(), 1001);
        const QJsonArray items = shown.value("items").toArray();
        QCOMPARE(items.size(), 5);
        QCOMPARE(items.at(0).toString(), QString(100, u'x') + QStringLiteral("..."));
        QCOMPARE(items.at(4).toString(), QStringLiteral("127.0.0.3"));
    }

    void overlayTakesTheClickBeforeAJoinerComes()
    {
        QCOMPARE(m_host.command("open host Budi"), QStringLiteral("ok open host"));
        QCOMPARE(m_host.events("screen"), QStringList{"host"});
        QCOMPARE(m_host.command("click A1"), QStringLiteral("ok click A1 trans"));
        QVERIFY(m_host.events("sent").isEmpty());
        QCOMPARE(m_host.state().value("cells").toObject().value("A1").toString(), QString());
    }

    void statusLineIsReported()
    {
        // Labs read the router's answer from this event; any sentence on the line travels.
        QCOMPARE(m_host.command("chat halo"), QStringLiteral("ok chat"));
        QCOMPARE(m_host.events("status").value(0), QStringLiteral("Belum terhubung: pesan tidak terkirim."));
        QCOMPARE(m_host.state().value("status").toString(), m_host.events("status").value(0));
        // The unsent line stays in the box, as the player left it; the rows below start empty.
        m_host.screens->host()->findChild<QLineEdit *>(QStringLiteral("Text1"))->clear();
    }

    void joinerConnectsAndNamesCross()
    {
        QCOMPARE(m_join.command("open join Sari"), QStringLiteral("ok open join"));
        QTRY_VERIFY_WITH_TIMEOUT(m_host.events("received").contains("XSari"), 20000);
        QTRY_VERIFY_WITH_TIMEOUT(m_join.events("received").contains("$0"), 20000);
        QCOMPARE(m_join.events("received").first(), QStringLiteral("OBudi"));
        const QJsonObject host = m_host.state();
        const QJsonObject join = m_join.state();
        QCOMPARE(host.value("Xname").toString(), QStringLiteral("Sari"));
        QCOMPARE(join.value("Oname").toString(), QStringLiteral("Budi"));
        QVERIFY(host.value("connected").toBool() && join.value("connected").toBool());
        QVERIFY(host.value("enabled").toBool() && !join.value("enabled").toBool());
    }

    void actionsThatChangeNothing_data()
    {
        QTest::addColumn<bool>("onHost");
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("answer");
        QTest::newRow("joiner's board is locked") << false << "click B2" << "ok click B2 B2";
        QTest::newRow("joiner has no Restart") << false << "restart" << "ok restart Command3 Command3";
        QTest::newRow("empty chat box") << true << "chat" << "ok chat";
        QTest::newRow("Enter on an empty box") << true << "enter" << "ok enter";
        QTest::newRow("not a point") << true << "click D4" << "error click: not a point: D4";
        QTest::newRow("no such button") << true << "button Nope" << "error button: no such control: Nope";
        QTest::newRow("unknown command") << false << "dance" << "error dance: unknown command";
        // The demo's screenshots are taken with "shot FILE".
        QTest::newRow("shot without a file") << true << "shot" << "error shot: shot FILE.png";
    }

    void actionsThatChangeNothing()
    {
        QFETCH(bool, onHost);
        QFETCH(QString, command);
        Side &side = onHost ? m_host : m_join;
        const qsizetype mark = side.lines.size();
        const QJsonObject before = side.state();
        QTEST(side.command(command), "answer");
        QVERIFY(side.events("sent", mark).isEmpty());
        QCOMPARE(side.state().value("cells"), before.value("cells"));
    }

    void chatIsTypedAndSent_data()
    {
        QTest::addColumn<QString>("commands");  // separated by '|'
        QTest::addColumn<QString>("wire");
        QTest::newRow("chat presses Enter") << "chat halo Budi" << "msg: halo Budi";
        QTest::newRow("type, then Send") << "type apa kabar?|send" << "msg: apa kabar?";
        QTest::newRow("spaces kept") << "chat  dua  spasi " << "msg:  dua  spasi ";
    }

    void chatIsTypedAndSent()
    {
        QFETCH(QString, commands);
        QFETCH(QString, wire);
        const qsizetype joinMark = m_join.lines.size();
        const qsizetype hostMark = m_host.lines.size();
        for (const QString &command : commands.split(u'|'))
            QVERIFY(m_join.command(command).startsWith(QLatin1String("ok ")));
        QCOMPARE(m_join.events("sent", joinMark), QStringList{wire});
        QTRY_COMPARE_WITH_TIMEOUT(m_host.events("received", hostMark), QStringList{wire}, 20000);
    }

    void gameCrossesAndIsReported()
    {
        const qsizetype hostMark = m_host.lines.size();
        const qsizetype joinMark = m_join.lines.size();
        QCOMPARE(m_host.command("click A1"), QStringLiteral("ok click A1 A1"));
        QCOMPARE(m_host.events("sent", hostMark), QStringList{"A1"});
        QVERIFY(!m_host.state().value("enabled").toBool());
        QTRY_VERIFY_WITH_TIMEOUT(m_join.events("drawn", joinMark).contains("A1 O"), 20000);
        QTRY_VERIFY_WITH_TIMEOUT(m_host.events("drawn", hostMark).contains("A1 O"), 20000);
        QCOMPARE(m_join.events("received", joinMark), QStringList{"A1"});
        QVERIFY(m_join.state().value("enabled").toBool());
        // The same point again is refused by the rules, not by the channel.
        QCOMPARE(m_join.command("click A1"), QStringLiteral("ok click A1 A1"));
        QCOMPARE(m_join.events("cue", joinMark), (QStringList{"MEI", "MEX"}));
        QVERIFY(m_join.events("sent", joinMark).isEmpty());

        // Verdicts and the whole game are the demo's to play through this channel.
        const qsizetype mark = m_join.lines.size();
        QCOMPARE(m_host.command("restart"), QStringLiteral("ok restart Command3 Command3"));
        QTRY_VERIFY_WITH_TIMEOUT(m_join.events("drawn", mark).contains("A1 -"), 20000);
    }

    void closeLeavesNoMatchScreen()
    {
        QCOMPARE(m_join.command("close"), QStringLiteral("ok close Command2 Command2"));
        QTRY_COMPARE_WITH_TIMEOUT(m_join.events("gone"), QStringList{"Join"}, 20000);
        const QJsonObject state = m_join.state();
        QVERIFY(!state.contains("screen"));
        QVERIFY(!state.value("screens").toArray().contains("Join"));
    }

    // Practice is driven as a match is, and nothing of it reaches a socket.
    void practiceIsDrivenAsAMatch()
    {
        QStandardPaths::setTestModeEnabled(true);
        qputenv("DORVALA_COMPUTER_DELAY", "0");
        QVERIFY(m_join.command("open practice hard").startsWith(QLatin1String("error open:")));
        const qsizetype mark = m_join.lines.size();
        QCOMPARE(m_join.command("open practice sempurna X"), QStringLiteral("ok open practice"));
        QTRY_COMPARE_WITH_TIMEOUT(m_join.events("screen", mark), QStringList{"practice"}, 20000);
        // The computer (O) opens; the player's click is answered.
        QTRY_VERIFY_WITH_TIMEOUT(m_join.state().value("enabled").toBool(), 20000);
        const QJsonObject cells = m_join.state().value("cells").toObject();
        const QString free = std::find_if(cells.begin(), cells.end(), [](const QJsonValue &v) {
                                 return v.toString().isEmpty();
                             }).key();
        QCOMPARE(m_join.command("click " + free), "ok click " + free + u' ' + free);
        QTRY_COMPARE_WITH_TIMEOUT(m_join.events("drawn", mark).filter(QStringLiteral(" O")).size(), 2, 20000);
        QCOMPARE(m_join.command("restart"), QStringLiteral("ok restart Command3 Command3"));
        QTRY_VERIFY_WITH_TIMEOUT(m_join.events("drawn", mark).contains(free + QStringLiteral(" -")), 20000);
        QVERIFY(m_join.events("sent", mark).isEmpty());
        QVERIFY(!m_join.state().value("connected").toBool());
    }

private:
    MatchEnv m_env;
    Side m_host;
    Side m_join;
};

QTEST_MAIN(ControlChannelTest)
#include "tst_control_channel.moc"
