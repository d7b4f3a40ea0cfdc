#include "lobby/host_registry.h"
#include "lobby/lobby_screen.h"
#include "lobby/probe_responder.h"
#include "lobby/probe_sender.h"
#include "net/host_address.h"
#include "net/lan_announcer.h"
#include "net/lan_host_list.h"
#include "platform/ftp_transfer.h"
#include "platform/rtf_document.h"
#include "platform/settings.h"
#include "support/black_hole_server.h"
#include "support/ftp_server.h"
#include "support/match_env.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <memory>

namespace {

constexpr int Patience = 30000;

// Waits until the transfer has no request under way any more.
#define SETTLE(inet) QTRY_VERIFY_WITH_TIMEOUT(!(inet)->StillExecuting(), Patience)

} // namespace

class TestLobbyScreen : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_driveC.isValid());
        qputenv("DORVALA_DRIVE_C", m_driveC.path().toLocal8Bit());
        qputenv("DORVALA_PROBE_PORT", QByteArray::number(MatchEnv::freePort()));
        qputenv("DORVALA_LOCAL_IP", "127.0.0.1");
        QVERIFY2(m_server.start(), qPrintable(m_server.error()));
        LobbyScreen::plainBox = [this](QWidget *, const QString &text) { m_boxes.append(text); };
    }

    void init()
    {
        qputenv("DORVALA_FTP_URL", m_server.url().toLocal8Bit());
        m_boxes.clear();
    }

    void cleanup()
    {
        qunsetenv("DORVALA_LAN_PORT");
        QDir root(m_server.root());
        for (const QString &name : root.entryList(QDir::Files))
            root.remove(name);
    }

    void listing_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::newRow("two hosts") << QStringList{"127.0.0.7", "127.0.0.9"};
        QTest::newRow("empty registry") << QStringList{};
    }

    void listing()
    {
        QFETCH(QStringList, names);
        QVERIFY(m_server.addEntries(names));

        const auto wol = std::make_unique<LobbyScreen>();
        QSignalSpy hostLists(wol.get(), &LobbyScreen::hostListChanged);
        QSignalSpy states(wol->registry()->Inet1(), &FtpTransfer::StateChanged);
        QSignalSpy pongs(wol.get(), &LobbyScreen::pongHeard);
        SETTLE(wol->registry()->Inet1());
        QCOMPARE(states.last().at(0).toInt(), int(FtpTransfer::ResponseCompleted));

        // The host list is rebuilt at every state change, the last time with every entry, in
        // the order of the listing.
        QCOMPARE(hostLists.size(), states.size());
        const QStringList listed = wol->listedHosts();
        QCOMPARE(hostLists.last().at(0).toStringList(), listed);
        QStringList sorted = listed;
        sorted.sort();
        QCOMPARE(sorted, names);

        // Every listed address is this machine (loopback), whose own responder takes the
        // probes: not one byte reaches it, and it keeps listening.
        auto *hear = wol->findChild<ProbeResponder *>(QStringLiteral("Hear"));
        auto *pingSy = wol->findChild<ProbeSender *>(QStringLiteral("PingSy"));
        QTRY_COMPARE_WITH_TIMEOUT(pingSy->pending(), 0, Patience);
        QVERIFY(pingSy->passesBegun() >= names.size() + 1);
        QTest::qWait(100);
        QCOMPARE(hear->arrivals(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(hear->isListening(), Patience);
        // A peer's "pong" hands its address on.
        QTcpSocket peer;
        QVERIFY(peer.bind(QHostAddress(QStringLiteral("127.0.0.4")), 0));
        peer.connectToHost(QHostAddress::LocalHost, Settings::probePort());
        QVERIFY(peer.waitForConnected(Patience));
        peer.write("pong");
        QVERIFY(pongs.wait(Patience));
        QCOMPARE(pongs.at(0).at(0).toString(), QStringLiteral("127.0.0.4"));

        // Listed again: the new names are added after the old ones, which stay.
        QVERIFY(m_server.addEntries({"127.0.0.8"}));
        wol->List();
        SETTLE(wol->registry()->Inet1());
        QCOMPARE(wol->listedHosts().size(), 2 * names.size() + 1);
        QCOMPARE(wol->listedHosts().mid(0, names.size()), listed);
        QCOMPARE(hostLists.last().at(0).toStringList(), wol->listedHosts());

        if (!names.isEmpty()) {
            auto *list = wol->findChild<QListWidget *>(QStringLiteral("lstRemoteFile"));
            wol->show();
            QVERIFY(QTest::qWaitForWindowExposed(wol.get()));
            const QRect second = list->visualItemRect(list->item(1));
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, second.center());
            QCOMPARE(wol->findChild<QWidget *>(QStringLiteral("STE"))->property("text").toString(), listed.at(1));
        }
    }

    void publishAndWithdraw()
    {
        const auto wol = std::make_unique<LobbyScreen>();
        auto *id = wol->findChild<QLineEdit *>(QStringLiteral("ID"));
        wol->publishHost(QStringLiteral("127.0.0.5"));
        QCOMPARE(id->text(), QStringLiteral("127.0.0.5"));
        SETTLE(wol->registry()->Inet3());
        QCOMPARE(m_server.entries(), QStringList{"127.0.0.5"});
        QFile staging(HostRegistry::stagingFile(QStringLiteral("127.0.0.5")));
        QVERIFY(staging.open(QIODevice::ReadOnly));
        QCOMPARE(RtfDocument::readText(staging.readAll()), QStringLiteral("127.0.0.5"));

        id->setText(QStringLiteral("something else"));
        wol->withdrawHost(QStringLiteral("127.0.0.5"));
        QCOMPARE(id->text(), QStringLiteral("127.0.0.5"));
        SETTLE(wol->registry()->Inet2());
        QCOMPARE(m_server.entries(), QStringList{});
        // The staging copy stays.
        QVERIFY(staging.exists());

        // "Simpan" publishes whatever the address box holds.
        id->setText(QStringLiteral("127.0.0.6"));
        wol->findChild<QPushButton *>(QStringLiteral("Command2"))->click();
        SETTLE(wol->registry()->Inet3());
        QCOMPARE(m_server.entries(), QStringList{"127.0.0.6"});

        // Withdrawn while its own upload is still under way, as a host that cannot listen does:
        // the delete must not overtake the upload and leave the entry behind.
        QSignalSpy started(wol->registry(), &HostRegistry::withdrawStarted);
        wol->publishHost(QStringLiteral("127.0.0.8"));
        wol->withdrawHost(QStringLiteral("127.0.0.8"));
        QVERIFY(wol->registry()->withdrawWaiting());
        SETTLE(wol->registry()->Inet3());
        QCOMPARE(started.count(), 1);
        SETTLE(wol->registry()->Inet2());
        QCOMPARE(m_server.entries(), QStringList{"127.0.0.6"});

        // "Hapus" while a delete is under way says so and sends nothing; afterwards it
        // withdraws what the address box holds.
        QVERIFY(m_server.addEntries({"127.0.0.7"}));
        auto *hapus = wol->findChild<QPushButton *>(QStringLiteral("Command1"));
        wol->withdrawHost(QStringLiteral("127.0.0.6"));
        id->setText(QStringLiteral("127.0.0.7"));
        hapus->click();
        QCOMPARE(m_boxes, QStringList{"masih sibuk"});
        SETTLE(wol->registry()->Inet2());
        QCOMPARE(m_server.entries(), QStringList{"127.0.0.7"});
        hapus->click();
        QCOMPARE(m_boxes.size(), 1);
        SETTLE(wol->registry()->Inet2());
        QCOMPARE(m_server.entries(), QStringList{});
    }

    void listingConnect_data()
    {
        QTest::addColumn<QString>("server");
        QTest::addColumn<int>("outcome");
        QTest::newRow("registry up") << "up" << 0;
        QTest::newRow("registry down") << "down" << 35754;
        QTest::newRow("server that never answers") << "silent" << 0;
    }

    void listingConnect()
    {
        QFETCH(QString, server);
        QFETCH(int, outcome);

        BlackHoleServer hole;
        QVERIFY(hole.start());
        const QString down = QStringLiteral("ftp://dorvala@127.0.0.1:%1/").arg(MatchEnv::freePort());
        if (server != u"up")
            qputenv("DORVALA_FTP_URL", (server == u"silent" ? hole.url() : down).toLocal8Bit());

        const auto wol = std::make_unique<LobbyScreen>();
        int ticks = 0;
        QTimer ticker;
        connect(&ticker, &QTimer::timeout, this, [&ticks] { ++ticks; });
        ticker.start(5);
        // Told once per question, never from inside the call, the second time too.
        QSignalSpy known(wol.get(), &LobbyScreen::listingConnectKnown);
        for (int asked = 1; asked <= 2; ++asked) {
            wol->watchListingConnect(Patience);
            QCOMPARE(known.size(), asked - 1);
            QVERIFY(known.wait(Patience));
            QCOMPARE(known.size(), asked);
            QCOMPARE(known.last().at(0).toInt(), outcome);
        }

        if (server == u"silent") {
            // The screens keep running while the listing hangs; Refresh drops it at once.
            const int before = ticks;
            QTRY_VERIFY_WITH_TIMEOUT(ticks >= before + 20, Patience);
            FtpTransfer *inet1 = wol->registry()->Inet1();
            QVERIFY(inet1->StillExecuting());
            QElapsedTimer clock;
            clock.start();
            wol->findChild<QPushButton *>(QStringLiteral("Command4"))->click();
            QVERIFY(clock.elapsed() < 1000);
            QVERIFY(!inet1->StillExecuting());
        }
    }

    void unloadedWhileDraining()
    {
        // Enough entries for a response of several chunks.
        QStringList many;
        for (int i = 0; i < 3000; ++i)
            many.append(QStringLiteral("127.0.%1.%2").arg(i / 250).arg(i % 250 + 1));
        QVERIFY(m_server.addEntries(many));

        auto *wol = new LobbyScreen;
        QPointer<LobbyScreen> guard(wol);
        FtpTransfer *inet1 = wol->registry()->Inet1();
        int hostsSeen = 0;
        connect(wol, &LobbyScreen::hostListChanged, this,
                [&hostsSeen](const QStringList &hosts) { hostsSeen += int(hosts.size()); });
        // Unloads the screen as soon as the response is there, i.e. in the middle of the drain
        // that lets events through between chunks.
        QTimer unloader;
        connect(&unloader, &QTimer::timeout, this, [&] {
            if (guard && inet1->state() == FtpTransfer::ResponseCompleted)
                delete guard.data();
        });
        unloader.start(0);
        QTRY_VERIFY_WITH_TIMEOUT(!guard, Patience);
        QCOMPARE(hostsSeen, 0);
    }

    void lanHostsBesideTheRegistry_data()
    {
        QTest::addColumn<QStringList>("registry");
        QTest::addColumn<int>("matchPort");  // 0: this machine's
        QTest::addColumn<QString>("publicPlace");  // where its router has it listed, if anywhere
        QTest::addColumn<QStringList>("hostList");  // the setup screen's, in order
        QTest::addColumn<QString>("lanRow");

        const QString probe = QString::number(Settings::probePort());
        QTest::newRow("on the LAN alone") << QStringList{} << 0 << "" << QStringList{"127.0.0.1"}
                                          << "127.0.0.1  (Budi)";
        QTest::newRow("in the registry too: listed once")
            << QStringList{"127.0.0.7", "127.0.0.1"} << 0 << ""
            << QStringList{"127.0.0.7", "127.0.0.1"} << "127.0.0.1  (Budi)";
        QTest::newRow("other ports: its own entry after the registry's")
            << QStringList{"127.0.0.1"} << 41009 << ""
            << QStringList{"127.0.0.1", "127.0.0.1_41009_" + probe} << "127.0.0.1_41009_" + probe + "  (Budi)";
        // Behind the same router the public address seldom leads back in: the joiner goes
        // by the LAN, in the registry entry's place.
        QTest::newRow("its public entry stands as its LAN entry")
            << QStringList{"127.0.0.7", "198.19.0.2_41009_40079"} << 0 << "198.19.0.2_41009_40079"
            << QStringList{"127.0.0.7", "127.0.0.1"} << "127.0.0.1  (Budi)";
        QTest::newRow("another host's public entry stays")
            << QStringList{"198.19.0.9_41009_40079"} << 0 << "198.19.0.2_41009_40079"
            << QStringList{"198.19.0.9_41009_40079", "127.0.0.1"} << "127.0.0.1  (Budi)";
    }

    void lanHostsBesideTheRegistry()
    {
        QFETCH(QStringList, registry);
        QFETCH(int, matchPort);
        QFETCH(QString, publicPlace);
        QFETCH(QStringList, hostList);
        QFETCH(QString, lanRow);
        qputenv("DORVALA_LAN_PORT", QByteArray::number(MatchEnv::freePort()));
        QVERIFY(m_server.addEntries(registry));

        const auto wol = std::make_unique<LobbyScreen>();
        QSignalSpy hostLists(wol.get(), &LobbyScreen::hostListChanged);
        SETTLE(wol->registry()->Inet1());
        QTRY_VERIFY_WITH_TIMEOUT(!hostLists.isEmpty(), Patience);
        const QStringList listed = wol->listedHosts();
        QStringList sorted = listed;
        sorted.sort();
        QStringList expected = registry;
        expected.sort();
        QCOMPARE(sorted, expected);

        LanAnnouncer host;
        host.start(QStringLiteral("127.0.0.1"), matchPort ? quint16(matchPort) : Settings::matchPort(),
                   Settings::probePort(), QStringLiteral("Budi"));
        if (!publicPlace.isEmpty()) {
            const HostAddress place = HostAddress::parse(publicPlace, Settings::matchPort(), Settings::probePort());
            host.setPublicPlace(place.ipv4(), place.matchPort(), place.probePort());
        }
        auto *lan = wol->findChild<QListWidget *>(QStringLiteral("lstLan"));
        QTRY_COMPARE_WITH_TIMEOUT(lan->count(), 1, 3000);
        QCOMPARE(lan->item(0)->text(), lanRow);
        // The registry's entries first, in their listing order.
        QStringList shown = listed;
        for (QString &entry : shown) {
            if (entry == publicPlace)
                entry = QStringLiteral("127.0.0.1");
        }
        for (const QString &entry : hostList) {
            if (!shown.contains(entry))
                shown.append(entry);
        }
        QTRY_COMPARE_WITH_TIMEOUT(hostLists.last().at(0).toStringList(), shown, 3000);
        QCOMPARE(QSet<QString>(shown.cbegin(), shown.cend()), QSet<QString>(hostList.cbegin(), hostList.cend()));

        // A goodbye takes it off at once, long before a silent host would go.
        host.stop();
        QTRY_COMPARE_WITH_TIMEOUT(lan->count(), 0, LanHostList::ExpiryMs / 2);
        QCOMPARE(hostLists.last().at(0).toStringList(), listed);
    }

private:
    QTemporaryDir m_driveC;
    FtpServer m_server;
    QStringList m_boxes;
};

QTEST_MAIN(TestLobbyScreen)
#include "tst_lobby_screen.moc"
