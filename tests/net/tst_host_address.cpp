#include "net/host_address.h"

#include <QTest>

#include <utility>

using Form = HostAddress::Form;

class TstHostAddress : public QObject
{
    Q_OBJECT
private slots:
    void parse_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("form");
        QTest::addColumn<QString>("address");
        QTest::addColumn<int>("match");
        QTest::addColumn<int>("probe");

        QTest::newRow("plain") << "10.0.0.7" << int(Form::Plain) << "10.0.0.7" << 1009 << 79;
        QTest::newRow("edges") << "0.0.0.0" << int(Form::Plain) << "0.0.0.0" << 1009 << 79;
        QTest::newRow("top") << "255.255.255.255" << int(Form::Plain) << "255.255.255.255" << 1009 << 79;
        QTest::newRow("ports") << "203.0.113.7_41009_40079" << int(Form::WithPorts) << "203.0.113.7"
                               << 41009 << 40079;
        QTest::newRow("ports at the top") << "255.255.255.255_65535_65535" << int(Form::WithPorts)
                                          << "255.255.255.255" << 65535 << 65535;
        QTest::newRow("colon") << "198.19.0.5:41009" << int(Form::WithMatchPort) << "198.19.0.5"
                               << 41009 << 79;
        // Anything else is no address: a row's name, then the text.
        const std::pair<const char *, QString> invalid[] = {
            {"empty", ""}, {"design text", "[Nomor IP]"}, {"three parts", "10.0.7"},
            {"five parts", "10.0.0.7.1"}, {"empty part", "10..0.7"}, {"trailing dot", "10.0.0.7."},
            {"part over 255", "10.0.0.256"}, {"leading zero", "10.0.0.07"},
            {"blank before", " 10.0.0.7"}, {"blank after", "10.0.0.7 "}, {"sign", "10.0.0.+7"},
            {"arabic-indic digit", QStringLiteral("10.0.0.\u0667")}, {"name", "example.org"},
            {"one port", "10.0.0.7_41009"}, {"three ports", "10.0.0.7_1_2_3"},
            {"port zero", "10.0.0.7_0_79"}, {"port too big", "10.0.0.7_65536_79"},
            {"port leading zero", "10.0.0.7_01009_79"}, {"empty probe port", "10.0.0.7_1009_"},
            {"colon no port", "10.0.0.7:"}, {"colon and underscores", "10.0.0.7:1_2"},
            {"two colons", "10.0.0.7:1:2"}, {"huge number", "10.0.0.7:99999999999999999999"},
            {"long garbage", QString(4096, u'9')}, {"ipv6", "::1"}};
        for (const auto &[name, text] : invalid)
            QTest::newRow(name) << text << int(Form::Invalid) << QString() << 0 << 0;
    }

    void parse()
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

    void registryName_data()
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

    void registryName()
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
};

QTEST_GUILESS_MAIN(TstHostAddress)
#include "tst_host_address.moc"
