#include "net/address_class.h"
#include "net/host_address.h"

#include <QTest>

class TstAddressClass : public QObject
{
    Q_OBJECT
private slots:
    void classify_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("publicNets");
        QTest::addColumn<int>("kind");

        const int pub = int(AddressClass::Public);
        const int priv = int(AddressClass::Private);
        const int shared = int(AddressClass::Shared);
        const int reserved = int(AddressClass::Reserved);
        QTest::newRow("public") << "8.8.8.8" << "" << pub;
        QTest::newRow("10/8") << "10.255.0.1" << "" << priv;
        QTest::newRow("172.16/12 first") << "172.16.0.1" << "" << priv;
        QTest::newRow("172.16/12 last") << "172.31.255.255" << "" << priv;
        QTest::newRow("just past 172.16/12") << "172.32.0.1" << "" << pub;
        QTest::newRow("just before 172.16/12") << "172.15.255.255" << "" << pub;
        QTest::newRow("192.168/16") << "192.168.1.1" << "" << priv;
        QTest::newRow("CGNAT first") << "100.64.0.1" << "" << shared;
        QTest::newRow("CGNAT last") << "100.127.255.254" << "" << shared;
        QTest::newRow("past CGNAT") << "100.128.0.1" << "" << pub;
        QTest::newRow("before CGNAT") << "100.63.255.255" << "" << pub;
        QTest::newRow("unspecified") << "0.0.0.0" << "" << reserved;
        QTest::newRow("loopback") << "127.0.0.1" << "" << reserved;
        QTest::newRow("link-local") << "169.254.3.4" << "" << reserved;
        QTest::newRow("benchmarking") << "198.19.0.2" << "" << reserved;
        QTest::newRow("documentation") << "203.0.113.7" << "" << reserved;
        QTest::newRow("multicast") << "239.255.255.250" << "" << reserved;
        QTest::newRow("broadcast") << "255.255.255.255" << "" << reserved;
        QTest::newRow("lab counts its internet public") << "198.19.0.2" << "198.19.0.0/16" << pub;
        QTest::newRow("lab range leaves the LAN side reserved") << "198.18.0.2" << "198.19.0.0/16"
                                                                << reserved;
        QTest::newRow("a public net may cover CGNAT") << "100.64.0.9" << "100.64.0.0/10" << pub;
        QTest::newRow("garbage list is ignored") << "198.19.0.2" << "nonsense,,/8" << reserved;
    }

    void classify()
    {
        QFETCH(QString, address);
        QFETCH(QString, publicNets);
        QFETCH(int, kind);
        quint32 ip = 0;
        QVERIFY(HostAddress::parseIpv4(address, &ip));
        QCOMPARE(int(classifyAddress(ip, parseNetList(publicNets))), kind);
    }

    void netList_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("nets");  // base/prefix as read back

        QTest::newRow("one") << "198.19.0.0/16" << QStringList{"198.19.0.0/16"};
        QTest::newRow("two, blanks") << " 198.19.0.0/16 , 100.64.0.0/10" << QStringList{"198.19.0.0/16", "100.64.0.0/10"};
        QTest::newRow("host bits cleared") << "198.19.7.9/16" << QStringList{"198.19.0.0/16"};
        QTest::newRow("everything") << "0.0.0.0/0" << QStringList{"0.0.0.0/0"};
        QTest::newRow("prefix too long") << "10.0.0.0/33" << QStringList{};
        QTest::newRow("negative prefix") << "10.0.0.0/-1" << QStringList{};
        QTest::newRow("no prefix") << "10.0.0.0" << QStringList{};
        QTest::newRow("empty prefix") << "10.0.0.0/" << QStringList{};
        QTest::newRow("bad among good") << "x/8,198.19.0.0/16" << QStringList{"198.19.0.0/16"};
    }

    void netList()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, nets);
        QStringList read;
        for (const Ipv4Net &net : parseNetList(text))
            read << HostAddress::formatIpv4(net.base) + u'/' + QString::number(net.prefix);
        QCOMPARE(read, nets);
    }
};

QTEST_GUILESS_MAIN(TstAddressClass)
#include "tst_address_class.moc"
