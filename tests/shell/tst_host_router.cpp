#include "shell/screens.h"

#include "match/host_screen.h"
#include "net/host_address.h"
#include "support/fake_natpmp_router.h"
#include "support/ftp_server.h"
#include "support/match_env.h"

#include <QLabel>
#include <QTemporaryDir>
#include <QtTest>

using Mode = FakeNatPmpRouter::Mode;
Q_DECLARE_METATYPE(FakeNatPmpRouter::Mode)

// A host behind a home router: what it publishes, what its screen says, and that closing
// it leaves neither a mapping nor an entry behind.
class HostRouterTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(m_ftp.start(), qPrintable(m_ftp.error()));
        qputenv("DORVALA_DRIVE_C", m_drive.path().toUtf8());
        qputenv("DORVALA_FTP_URL", m_ftp.url().toUtf8());
        qputenv("DORVALA_PUBLIC_NETS", "198.19.0.0/16");
    }

    void publishesWhatCanBeReached_data()
    {
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<QString>("external");
        QTest::addColumn<quint16>("lowestAllowed");
        QTest::addColumn<quint16>("shift");
        QTest::addColumn<QString>("entry");   // %1 match port, %2 probe port (local or mapped)
        QTest::addColumn<QString>("words");

        QTest::newRow("open, same ports") << Mode::Answer << "198.19.0.1" << quint16(0) << quint16(0)
                                          << "198.19.0.1" << "Terbuka ke internet di 198.19.0.1";
        QTest::newRow("open, other ports") << Mode::Answer << "198.19.0.1" << quint16(0) << quint16(7)
                                           << "198.19.0.1_%1_%2" << "Terbuka ke internet di 198.19.0.1:%1";
        QTest::newRow("refused") << Mode::Answer << "198.19.0.1" << quint16(65535) << quint16(0)
                                 << "127.0.0.1" << "Router menolak membuka port %1";
        QTest::newRow("CGNAT") << Mode::Answer << "100.64.0.7" << quint16(0) << quint16(0)
                               << "127.0.0.1" << "(CGNAT)";
        QTest::newRow("two routers") << Mode::Answer << "192.168.0.2" << quint16(0) << quint16(0)
                                     << "127.0.0.1" << "NAT ganda";
        QTest::newRow("no answer") << Mode::Silent << "198.19.0.1" << quint16(0) << quint16(0)
                                   << "127.0.0.1" << "Tidak ada router yang menjawab";
        QTest::newRow("forged answers") << Mode::FromOtherPort << "198.19.0.1" << quint16(0) << quint16(0)
                                        << "127.0.0.1" << "Tidak ada router yang menjawab";
    }

    void publishesWhatCanBeReached()
    {
        QFETCH(Mode, mode);
        QFETCH(QString, external);
        QFETCH(quint16, lowestAllowed);
        QFETCH(quint16, shift);
        QFETCH(QString, entry);
        QFETCH(QString, words);

        FakeNatPmpRouter router;
        router.mode = mode;
        HostAddress::parseIpv4(external, &router.externalAddress);
        router.lowestAllowed = lowestAllowed;
        router.externalShift = shift;
        const quint16 matchPort = MatchEnv::freePort();
        const quint16 probePort = MatchEnv::freePort();
        qputenv("DORVALA_MATCH_PORT", QByteArray::number(matchPort));
        qputenv("DORVALA_PROBE_PORT", QByteArray::number(probePort));
        qputenv("DORVALA_ROUTER", "127.0.0.1:" + QByteArray::number(router.port()));
        const QString published = entry.arg(matchPort + shift).arg(probePort + shift);
        const QString said = words.arg(lowestAllowed ? matchPort : matchPort + shift);

        auto screens = std::make_unique<Screens>();
        screens->startHost(QStringLiteral("Budi"), {}, false);
        HostScreen *host = screens->host();
        auto *status = host->findChild<QLabel *>(QStringLiteral("status"));
        QVERIFY(status);
        // Nothing is listed while the router is asked; the answer comes within 3 s.
        QVERIFY(m_ftp.entries().isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(status->text().contains(said), 3000);
        QTRY_COMPARE_WITH_TIMEOUT(m_ftp.entries(), QStringList{published}, 10000);

        host->close();
        QTRY_VERIFY_WITH_TIMEOUT(m_ftp.entries().isEmpty(), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(router.mappings.isEmpty(), 3000);
        screens.reset();
        qunsetenv("DORVALA_ROUTER");
    }

    void switchedOffAsksNobody()
    {
        FakeNatPmpRouter router;
        qputenv("DORVALA_MATCH_PORT", QByteArray::number(MatchEnv::freePort()));
        qputenv("DORVALA_ROUTER", "127.0.0.1:" + QByteArray::number(router.port()));
        qputenv("DORVALA_MAP_PORTS", "0");
        auto screens = std::make_unique<Screens>();
        screens->startHost(QStringLiteral("Budi"), {}, false);
        QTRY_COMPARE_WITH_TIMEOUT(m_ftp.entries(), QStringList{QStringLiteral("127.0.0.1")}, 10000);
        QCOMPARE(router.requests.size(), 0);
        screens->host()->close();
        QTRY_VERIFY_WITH_TIMEOUT(m_ftp.entries().isEmpty(), 10000);
        qunsetenv("DORVALA_MAP_PORTS");
        qunsetenv("DORVALA_ROUTER");
    }

private:
    FtpServer m_ftp;
    QTemporaryDir m_drive;
};

QTEST_MAIN(HostRouterTest)
#include "tst_host_router.moc"
