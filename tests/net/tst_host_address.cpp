#include "net/host_address.h"

#include <QTest>

class TstHostAddress : public QObject
{
    Q_OBJECT
private slots:
    void parse_data();
    void parse();
    void registryName_data();
    void registryName();
};

using Form = HostAddress::Form;

void TstHostAddress::parse_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("form");
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("match");
    QTest::addColumn<int>("probe");

    const int bad = int(Form::Invalid);
    QTest::newRow("plain") << "10.0.0.7" << int(Form::Plain) << "10.0.0.7" << 1009 << 79;
    QTest::newRow("edges") << "0.0.0.0" << int(Form::Plain) << "0.0.0.0" << 1009 << 79;
    QTest::newRow("top") << "255.255.255.255" << int(Form::Plain) << "255.255.255.255" << 1009 << 79;
    QTest::newRow("ports") << "203.0.113.7_41009_40079" << int(Form::WithPorts) << "203.0.113.7"
                           << 41009 << 40079;
    QTest::newRow("ports at the top") << "255.255.255.255_65535_65535" << int(Form::WithPorts)
                                      << "255.255.255.255" << 65535 << 65535;
    QTest::newRow("colon") << "198.19.0.5:41009" << int(Form::WithMatchPort) << "198.19.0.5"
                           << 41009 << 79;
    QTest::newRow("empty") << "" << bad << "" << 0 << 0;
    QTest::newRow("design text") << "[Nomor IP]" << bad << "" << 0 << 0;
    QTest::newRow("three parts") << "10.0.7" << bad << "" << 0 << 0;
    QTest::newRow("five parts") << "10.0.0.7.1" << bad << "" << 0 << 0;
    QTest::newRow("empty part") << "10..0.7" << bad << "" << 0 << 0;
    QTest::newRow("trailing dot") << "10.0.0.7." << bad << "" << 0 << 0;
    QTest::newRow("part over 255") << "10.0.0.256" << bad << "" << 0 << 0;
    QTest::newRow("leading zero") << "10.0.0.07" << bad << "" << 0 << 0;
    QTest::newRow("blank before") << " 10.0.0.7" << bad << "" << 0 << 0;
    QTest::newRow("blank after") << "10.0.0.7 " << bad << "" << 0 << 0;
    QTest::newRow("sign") << "10.0.0.+7" << bad << "" << 0 << 0;
    QTest::newRow("arabic-indic digit") << QString::fromUtf8("10.0.0.\u0667") << bad << "" << 0 << 0;
    QTest::newRow("name") << "example.org" << bad << "" << 0 << 0;
    QTest::newRow("one port") << "10.0.0.7_41009" << bad << "" << 0 << 0;
    QTest::newRow("three ports") << "10.0.0.7_1_2_3" << bad << "" << 0 << 0;
    QTest::newRow("port zero") << "10.0.0.7_0_79" << bad << "" << 0 << 0;
    QTest::newRow("port too big") << "10.0.0.7_65536_79" << bad << "" << 0 << 0;
    QTest::newRow("port leading zero") << "10.0.0.7_01009_79" << bad << "" << 0 << 0;
    QTest::newRow("empty probe port") << "10.0.0.7_1009_" << bad << "" << 0 << 0;
    QTest::newRow("colon no port") << "10.0.0.7:" << bad << "" << 0 << 0;
    QTest::newRow("colon and underscores") << "10.0.0.7:1_2" << bad << "" << 0 << 0;
    QTest::newRow("two colons") << "10.0.0.7:1:2" << bad << "" << 0 << 0;
    QTest::newRow("huge number") << "10.0.0.7:99999999999999999999" << bad << "" << 0 << 0;
    QTest::newRow("long garbage") << QString(4096, u'9') << bad << "" << 0 << 0;
    QTest::newRow("ipv6") << "::1" << bad << "" << 0 << 0;
}

void TstHostAddress::parse()
{
    QFETCH(QString, text);
    QFETCH(int, form);
    QFETCH(QString, address);
    QFETCH(int, match);
    QFETCH(int, probe);

    const HostAddress parsed = HostAddress::parse(text, 1009, 79);
    QCOMPARE(int(parsed.form()), form);
    QCOMPARE(parsed.address(), address);
    if (parsed.isValid()) {
        QCOMPARE(parsed.matchPort(), match);
        QCOMPARE(parsed.probePort(), probe);
    }
}

void TstHostAddress::registryName_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("match");
    QTest::addColumn<int>("probe");
    QTest::addColumn<QString>("name");

    QTest::newRow("standard ports: plain") << "198.19.0.2" << 1009 << 79 << "198.19.0.2";
    QTest::newRow("mapped ports") << "198.19.0.2" << 41009 << 40079 << "198.19.0.2_41009_40079";
    QTest::newRow("only the probe port differs") << "198.19.0.2" << 1009 << 40079
                                                 << "198.19.0.2_1009_40079";
}

void TstHostAddress::registryName()
{
    QFETCH(QString, address);
    QFETCH(int, match);
    QFETCH(int, probe);
    QFETCH(QString, name);

    quint32 ip = 0;
    QVERIFY(HostAddress::parseIpv4(address, &ip));
    const HostAddress host = HostAddress::make(ip, quint16(match), quint16(probe));
    QCOMPARE(host.registryName(1009, 79), name);
    // What is published reads back as the same place.
    const HostAddress back = HostAddress::parse(name, 1009, 79);
    QCOMPARE(back.ipv4(), ip);
    QCOMPARE(back.matchPort(), match);
    QCOMPARE(back.probePort(), probe);
}

QTEST_GUILESS_MAIN(TstHostAddress)
#include "tst_host_address.moc"
