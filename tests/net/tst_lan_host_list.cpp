#include "net/lan_announcement.h"
#include "net/lan_announcer.h"
#include "net/lan_host_list.h"

#include <QHostAddress>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QUdpSocket>

namespace {

quint32 ip(const char *text)
{
    return QHostAddress(QString::fromLatin1(text)).toIPv4Address();
}

struct Heard
{
    QByteArray datagram;
    quint32 source;
};

Heard announce(const char *address, const char *from = nullptr, quint16 match = 1009,
               quint16 probe = 79, LanAnnouncement::Kind kind = LanAnnouncement::Kind::Announce,
               const QString &name = QStringLiteral("Budi"))
{
    LanAnnouncement a;
    a.kind = kind;
    a.matchPort = match;
    a.probePort = probe;
    a.address = ip(address);
    a.name = name;
    return {a.encode(), ip(from ? from : address)};
}

Heard goodbye(const char *address, const char *from = nullptr, quint16 match = 1009)
{
    return announce(address, from, match, 79, LanAnnouncement::Kind::Goodbye);
}

QNetworkAddressEntry entry(const char *address, int prefix, const char *broadcast)
{
    QNetworkAddressEntry e;
    e.setIp(QHostAddress(QString::fromLatin1(address)));
    e.setPrefixLength(prefix);
    if (broadcast)
        e.setBroadcast(QHostAddress(QString::fromLatin1(broadcast)));
    return e;
}

LocalSubnets lab()
{
    return LocalSubnets::fromEntries({entry("198.18.0.1", 24, "198.18.0.255"),
                                      entry("127.0.0.1", 8, nullptr)});
}

QStringList entries(const LanHostList &list)
{
    QStringList out;
    for (const LanHost &h : list.hosts())
        out.append(lanHostEntry(h, 1009, 79));
    return out;
}

quint16 freeUdpPort()
{
    QUdpSocket probe;
    probe.bind(QHostAddress::LocalHost, 0);
    return probe.localPort();
}

} // namespace

Q_DECLARE_METATYPE(QList<Heard>)

class TestLanHostList : public QObject
{
    Q_OBJECT
private slots:
    void keepsWhatItMayTrust_data()
    {
        QTest::addColumn<QList<Heard>>("heard");
        QTest::addColumn<QStringList>("listed");
        QTest::addColumn<int>("changes");

        QTest::newRow("announced") << QList<Heard>{announce("198.18.0.2")}
                                   << QStringList{"198.18.0.2"} << 1;
        QTest::newRow("heard again: once, no change")
            << QList<Heard>{announce("198.18.0.2"), announce("198.18.0.2")}
            << QStringList{"198.18.0.2"} << 1;
        QTest::newRow("renamed: a change")
            << QList<Heard>{announce("198.18.0.2"),
                            announce("198.18.0.2", nullptr, 1009, 79, LanAnnouncement::Kind::Announce,
                                     QStringLiteral("Ani"))}
            << QStringList{"198.18.0.2"} << 2;
        QTest::newRow("in the order heard")
            << QList<Heard>{announce("198.18.0.9"), announce("198.18.0.2"), announce("198.18.0.9")}
            << QStringList{"198.18.0.9", "198.18.0.2"} << 2;
        QTest::newRow("other ports written out")
            << QList<Heard>{announce("198.18.0.2", nullptr, 41009, 40079)}
            << QStringList{"198.18.0.2_41009_40079"} << 1;
        QTest::newRow("other probe port alone")
            << QList<Heard>{announce("198.18.0.2", nullptr, 1009, 40079)}
            << QStringList{"198.18.0.2_1009_40079"} << 1;
        QTest::newRow("two hosts on one machine")
            << QList<Heard>{announce("127.0.0.1", nullptr, 41009, 40079),
                            announce("127.0.0.1", nullptr, 42009, 40079)}
            << QStringList{"127.0.0.1_41009_40079", "127.0.0.1_42009_40079"} << 2;
        QTest::newRow("goodbye removes") << QList<Heard>{announce("198.18.0.2"), goodbye("198.18.0.2")}
                                         << QStringList{} << 2;
        QTest::newRow("goodbye removes only its port")
            << QList<Heard>{announce("127.0.0.1", nullptr, 41009), announce("127.0.0.1", nullptr, 42009),
                            goodbye("127.0.0.1", nullptr, 42009)}
            << QStringList{"127.0.0.1_41009_79"} << 3;
        QTest::newRow("goodbye of a stranger: no change")
            << QList<Heard>{goodbye("198.18.0.2")} << QStringList{} << 0;
        QTest::newRow("forged: content names another address")
            << QList<Heard>{announce("198.18.0.3", "198.18.0.2")} << QStringList{} << 0;
        QTest::newRow("forged goodbye leaves the host")
            << QList<Heard>{announce("198.18.0.2"), goodbye("198.18.0.2", "198.18.0.66")}
            << QStringList{"198.18.0.2"} << 1;
        QTest::newRow("outside the local subnets")
            << QList<Heard>{announce("203.0.113.5"), announce("198.18.1.2"), announce("10.0.0.2")}
            << QStringList{} << 0;
        QTest::newRow("garbage between leaves the list")
            << QList<Heard>{announce("198.18.0.2"), Heard{"DRVL\x01garbage", ip("198.18.0.2")},
                            Heard{QByteArray(1500, 'x'), ip("198.18.0.2")}}
            << QStringList{"198.18.0.2"} << 1;
    }

    void keepsWhatItMayTrust()
    {
        QFETCH(QList<Heard>, heard);
        QFETCH(QStringList, listed);
        QFETCH(int, changes);
        LanHostList list;
        list.setSubnets(lab());
        int changed = 0;
        for (const Heard &h : heard)
            changed += list.take(h.datagram, h.source) ? 1 : 0;
        QCOMPARE(entries(list), listed);
        QCOMPARE(changed, changes);
    }

    void destination_data()
    {
        QTest::addColumn<QString>("local");
        QTest::addColumn<QList<QNetworkAddressEntry>>("interfaces");
        QTest::addColumn<QString>("destination");

        const QList<QNetworkAddressEntry> faces{entry("127.0.0.1", 8, nullptr),
                                                entry("198.19.0.5", 24, "198.19.0.255"),
                                                entry("198.18.0.2", 24, "198.18.0.255")};
        QTest::newRow("loopback stays on loopback") << "127.0.0.1" << faces << "127.255.255.255";
        QTest::newRow("the interface that holds the address") << "198.18.0.2" << faces
                                                               << "198.18.0.255";
        QTest::newRow("an address no interface holds") << "198.18.0.3" << faces << "";
        QTest::newRow("an interface without broadcast")
            << "100.64.0.9" << QList<QNetworkAddressEntry>{entry("100.64.0.9", 32, nullptr)} << "";
        QTest::newRow("no address") << "" << faces << "";
        QTest::newRow("IPv6 loopback") << "::1" << faces << "";
    }

    void destination()
    {
        QFETCH(QString, local);
        QFETCH(QList<QNetworkAddressEntry>, interfaces);
        QFETCH(QString, destination);
        const QHostAddress to = LanAnnouncer::destinationFor(QHostAddress(local), interfaces);
        QCOMPARE(to.isNull() ? QString() : to.toString(), destination);
    }

    void holdsAtMostMaxHosts()
    {
        LanHostList list;
        list.setSubnets(LocalSubnets::fromEntries({entry("198.18.0.1", 16, "198.18.255.255")}));
        for (int i = 0; i < LanHostList::MaxHosts + 50; ++i) {
            const QByteArray address = QStringLiteral("198.18.%1.%2").arg(1 + i / 200).arg(1 + i % 200).toLatin1();
            const Heard h = announce(address.constData());
            list.take(h.datagram, h.source);
        }
        QCOMPARE(list.hosts().size(), LanHostList::MaxHosts);
        // Those already listed stay; a place that falls free takes a newcomer.
        const Heard newcomer = announce("198.18.9.9");
        QVERIFY(!list.take(newcomer.datagram, newcomer.source));
        const Heard leaving = goodbye("198.18.1.1");
        QVERIFY(list.take(leaving.datagram, leaving.source));
        QVERIFY(list.take(newcomer.datagram, newcomer.source));
        QCOMPARE(list.hosts().last().addressText(), QStringLiteral("198.18.9.9"));
    }

    void forgetsSilentHosts()
    {
        LanHostList list;
        list.setSubnets(lab());
        list.setExpiryMs(300);
        QSignalSpy changed(&list, &LanHostList::hostsChanged);
        const Heard silent = announce("198.18.0.2");
        const Heard talking = announce("198.18.0.3");
        list.take(silent.datagram, silent.source);
        list.take(talking.datagram, talking.source);
        QTimer again;
        connect(&again, &QTimer::timeout, &list, [&] { list.take(talking.datagram, talking.source); });
        again.start(50);
        QTRY_COMPARE_WITH_TIMEOUT(entries(list), QStringList{"198.18.0.3"}, 3000);
        QCOMPARE(changed.size(), 1);
        again.stop();
        QTRY_COMPARE_WITH_TIMEOUT(list.hosts().size(), 0, 3000);
        QCOMPARE(changed.size(), 2);
    }

    void hostsFindEachOtherOverLoopback()
    {
        const quint16 port = freeUdpPort();
        QVERIFY(port != 0);
        qputenv("DORVALA_LAN_PORT", QByteArray::number(port));
        // Two programs on one machine share the port and both hear the host.
        LanHostList first;
        LanHostList second;
        QVERIFY(first.listen(LanAnnouncement::port()));
        QVERIFY(second.listen(LanAnnouncement::port()));
        LanAnnouncer host;
        host.start(QStringLiteral("127.0.0.1"), 41009, 40079, QString());
        host.setName(QStringLiteral("Zoë"));
        QVERIFY(host.isAnnouncing());
        QCOMPARE(host.destination().toString(), QStringLiteral("127.255.255.255"));

        const QStringList expected{"127.0.0.1_41009_40079"};
        QTRY_COMPARE_WITH_TIMEOUT(entries(first), expected, 3000);
        QTRY_COMPARE_WITH_TIMEOUT(entries(second), expected, 3000);
        QTRY_COMPARE_WITH_TIMEOUT(first.hosts().first().name, QStringLiteral("Zoë"), 3000);

        // The goodbye is heard long before a silent host would expire.
        host.stop();
        QVERIFY(!host.isAnnouncing());
        QTRY_COMPARE_WITH_TIMEOUT(first.hosts().size(), 0, LanHostList::ExpiryMs / 2);
        QTRY_COMPARE_WITH_TIMEOUT(second.hosts().size(), 0, LanHostList::ExpiryMs / 2);
        qunsetenv("DORVALA_LAN_PORT");
    }
};

QTEST_GUILESS_MAIN(TestLanHostList)
#include "tst_lan_host_list.moc"
