#include "shell/login_screen.h"
#include "shell/screens.h"
#include "shell/title_screen.h"

#include "lobby/host_registry.h"
#include "lobby/lobby_screen.h"
#include "lobby/probe_responder.h"
#include "match/host_screen.h"
#include "match/match_socket.h"
#include "net/lan_announcement.h"
#include "net/lan_host_list.h"
#include "platform/settings.h"
#include "platform/ftp_transfer.h"
#include "support/ftp_server.h"
#include "support/match_env.h"

#include <QComboBox>
#include <QLabel>
#include <QSettings>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

// The road from the title screen's "Mulai" to the setup screen, with the registry up and
// down, and the screens loaded again on the way.
class StartFlowTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(m_ftp.start(), qPrintable(m_ftp.error()));
        QVERIFY(m_ftp.addEntries({QStringLiteral("127.0.0.5"), QStringLiteral("127.0.0.6")}));
    }

    void init()
    {
        qputenv("DORVALA_DRIVE_C", m_drive.path().toUtf8());
        qputenv("DORVALA_FTP_URL", m_ftp.url().toUtf8());
        qputenv("DORVALA_PROBE_PORT", QByteArray::number(MatchEnv::freePort()));
        m_boxes.clear();
        // The player answers the box at once.
        Screens::criticalBox = [this](QWidget *, const QString &title, const QString &text,
                                      const std::function<void()> &afterOk) {
            m_boxes << title + u'|' + text;
            QTimer::singleShot(0, afterOk);
        };
        m_screens = std::make_unique<Screens>();
    }

    void cleanup() { m_screens.reset(); }

    // "Mulai" before the splash has gone: one setup screen, shown once the registry has
    // answered (nothing waits for it), the title screen unloaded and the lobby loaded hidden.
    // A registry out of reach is reported, and after the OK the setup screen opens all the
    // same; with none configured there is no box, and the lobby says in its own space where
    // to set one. Hosting works either way.
    void mulaiReachesTheSetupScreen_data()
    {
        QTest::addColumn<QString>("registry");  // "up", "down" (nobody listens), "" (none set)
        QTest::addColumn<bool>("box");
        QTest::addColumn<QString>("note");
        QTest::addColumn<int>("hosts");         // listed on the setup screen

        QTest::newRow("registry up") << "up" << false << "Server daftar: 127.0.0.1:" << 2;
        QTest::newRow("registry out of reach") << "down" << true << "Server daftar: 127.0.0.1:" << 0;
        QTest::newRow("no registry configured") << "" << false << "Belum ada server daftar" << 0;
    }

    void mulaiReachesTheSetupScreen()
    {
        QFETCH(QString, registry);
        QFETCH(bool, box);
        QFETCH(QString, note);
        QFETCH(int, hosts);
        const QTemporaryDir config;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, config.path());
        QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope, config.path());
        if (registry.isEmpty())
            qunsetenv("DORVALA_FTP_URL");
        else if (registry == u"down")
            qputenv("DORVALA_FTP_URL", QByteArray("ftp://dorvala@127.0.0.1:")
                                           + QByteArray::number(MatchEnv::freePort()) + "/");
        TitleScreen *title = m_screens->openi();
        title->show();
        QVERIFY(title->splashVisible());
        QSignalSpy opened(m_screens.get(), &Screens::loginOpened);
        title->Play_Click();
        title->Play_Click();  // a second click while the first waits changes nothing
        QVERIFY(!m_screens->login()->isVisible());
        QVERIFY(m_screens->isLoaded(QStringLiteral("openi")));
        QVERIFY(opened.wait(20000));
        QCOMPARE(opened.size(), 1);
        QCOMPARE(opened.first().at(0).toInt(), 0);
        const QStringList expected{QStringLiteral(
            "Internetr Bermasalah!|Internet tidak tersambung!\r\n"
            "Silahkan melakukan koneksi ke Internet terlebih dahulu")};
        QCOMPARE(m_boxes, box ? expected : QStringList());
        QTRY_VERIFY(!m_screens->isLoaded(QStringLiteral("openi")));
        QVERIFY(m_screens->isLoaded(QStringLiteral("WOL")));
        LoginScreen *login = m_screens->login();
        QVERIFY(login->isVisible());
        QVERIFY(!m_screens->WOL()->isVisible());
        QCOMPARE(login->MIP()->text(), QStringLiteral("127.0.0.1"));
        const auto *noteLabel = m_screens->WOL()->findChild<QLabel *>(QStringLiteral("RegistryNote"));
        QVERIFY2(noteLabel->text().startsWith(note), qPrintable(noteLabel->text()));
        // The lobby's listing fills the host list in order.
        QTRY_COMPARE_WITH_TIMEOUT(login->HO()->count(), hosts, 10000);
        if (hosts)
            QCOMPARE(login->HO()->itemText(0), QStringLiteral("127.0.0.5"));
        qputenv("DORVALA_MATCH_PORT", QByteArray::number(MatchEnv::freePort()));
        login->Play_Click();
        QVERIFY(m_screens->isLoaded(QStringLiteral("host")));
        QVERIFY(m_screens->host()->socket()->isListening());
    }

    // A screen loaded again right after its unload has its ports at once: the old one's
    // deletion waits for the event loop, its sockets must not.
    void reloadedScreensListenAtOnce_data()
    {
        QTest::addColumn<QString>("road");
        QTest::newRow("Cari TR") << "cari";
        QTest::newRow("host opening") << "host";
        QTest::newRow("host closed and hosted again") << "host again";
    }

    void reloadedScreensListenAtOnce()
    {
        QFETCH(QString, road);
        qputenv("DORVALA_MATCH_PORT", QByteArray::number(MatchEnv::freePort()));
        QCOMPARE(openLogin(), 0);
        m_screens->showLobby();
        LobbyScreen *lobby = m_screens->WOL();
        QVERIFY(lobby->isVisible());
        if (road == u"cari") {
            m_screens->login()->Quit_Click();
        } else {
            m_screens->startHost(QStringLiteral("Budi"), {}, false);
            if (road == u"host again") {
                m_screens->host()->findChild<QPushButton *>(QStringLiteral("Command2"))->click();
                QVERIFY(!m_screens->isLoaded(QStringLiteral("host")));
                m_screens->startHost(QStringLiteral("Budi"), {}, false);
                QVERIFY(m_screens->host()->socket()->isListening());
            }
        }
        QVERIFY(m_screens->WOL() != lobby);
        QVERIFY(!m_screens->WOL()->isVisible());
        QVERIFY(m_screens->WOL()->findChild<ProbeResponder *>(QStringLiteral("Hear"))->isListening());
    }

    void playerFileStaysInsideDriveC()
    {
        const QFileInfo file(LoginScreen::playerFile(QStringLiteral("../../etc/passwd")));
        QCOMPARE(file.absolutePath(), QFileInfo(m_drive.path()).absoluteFilePath());
        QVERIFY(file.fileName().startsWith(u'-'));
    }

    // Last: it ends the application's event loop.
    void quitRightAfterHostingWithdrawsInTheExitWait()
    {
        qputenv("DORVALA_MATCH_PORT", QByteArray::number(MatchEnv::freePort()));
        m_screens->startHost(QStringLiteral("Budi"), {}, false);
        HostRegistry *registry = m_screens->WOL()->registry();
        bool uploading = false;
        QTimer::singleShot(0, this, [&] {
            uploading = registry->Inet3()->StillExecuting();
            m_screens->closeAllAndQuit();
        });
        // As main: the event loop ends when the program is told to; the exit's wait then
        // sees the upload to its end and the delete that waited for it.
        QCoreApplication::exec();
        QVERIFY(uploading);
        QVERIFY(FtpTransfer::waitForPending(Screens::ExitWaitMs));
        QVERIFY(!registry->withdrawWaiting());
        QVERIFY(!registry->Inet2()->StillExecuting());
        QVERIFY(!m_ftp.entries().contains(QStringLiteral("127.0.0.1")));
    }

    void openHostIsHeardOnTheLan()
    {
        qputenv("DORVALA_MATCH_PORT", QByteArray::number(MatchEnv::freePort()));
        qputenv("DORVALA_LAN_PORT", QByteArray::number(MatchEnv::freePort()));
        m_screens = std::make_unique<Screens>();
        LanHostList lan;
        QVERIFY(lan.listen(LanAnnouncement::port()));
        m_screens->startHost(QStringLiteral("Budi"), {}, false);
        QTRY_COMPARE_WITH_TIMEOUT(lan.hosts().size(), 1, 3000);
        QTRY_COMPARE_WITH_TIMEOUT(lan.hosts().first().name, QStringLiteral("Budi"), 3000);
        QCOMPARE(lan.hosts().first().addressText(), QStringLiteral("127.0.0.1"));
        QCOMPARE(lan.hosts().first().matchPort, Settings::matchPort());
        QCOMPARE(lan.hosts().first().probePort, Settings::probePort());

        // Closing the host screen says goodbye: gone long before a silent host would be.
        m_screens->host()->close();
        QTRY_COMPARE_WITH_TIMEOUT(lan.hosts().size(), 0, LanHostList::ExpiryMs / 2);
        qunsetenv("DORVALA_LAN_PORT");
    }

private:
    // "Mulai" as a player clicks it: the answer comes through the event loop.
    int openLogin()
    {
        QSignalSpy opened(m_screens.get(), &Screens::loginOpened);
        m_screens->openLogin();
        if (opened.isEmpty() && !opened.wait(20000))
            return -1;
        return opened.first().at(0).toInt();
    }

    FtpServer m_ftp;
    QTemporaryDir m_drive;
    QStringList m_boxes;
    std::unique_ptr<Screens> m_screens;
};

QTEST_MAIN(StartFlowTest)
#include "tst_start_flow.moc"
