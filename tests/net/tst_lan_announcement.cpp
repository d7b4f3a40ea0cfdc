#include "net/lan_announcement.h"

#include <QTest>

namespace {

struct Public
{
    quint32 address = 0;
    quint16 match = 0;
    quint16 probe = 0;
};

void put16(QByteArray &out, quint16 value)
{
    out += char(value >> 8);
    out += char(value & 0xff);
}

void put32(QByteArray &out, quint32 value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        out += char((value >> shift) & 0xff);
}

QByteArray datagram(quint8 kind, quint16 match, quint16 probe, quint32 address,
                    const QByteArray &name, int lengthByte = -1, Public listed = {})
{
    QByteArray out("DRVL\x02", 5);
    out += char(kind);
    put16(out, match);
    put16(out, probe);
    put32(out, address);
    put32(out, listed.address);
    put16(out, listed.match);
    put16(out, listed.probe);
    out += char(lengthByte < 0 ? name.size() : lengthByte);
    return out + name;
}

constexpr quint32 Host = 0xc6120002;  // 198.18.0.2

} // namespace

class TestLanAnnouncement : public QObject
{
    Q_OBJECT
private slots:
    void parsesWellFormed_data();
    void parsesWellFormed();
    void dropsMalformed_data();
    void dropsMalformed();
    void encodeGivesWhatParseAccepts_data();
    void encodeGivesWhatParseAccepts();
};

void TestLanAnnouncement::parsesWellFormed_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("match");
    QTest::addColumn<int>("probe");
    QTest::addColumn<QString>("name");
    QTest::addColumn<quint32>("publicAddress");

    QTest::newRow("announce") << datagram(1, 1009, 79, Host, "Budi") << 1 << 1009 << 79 << "Budi" << 0u;
    QTest::newRow("listed at a public place")
        << datagram(1, 1009, 79, Host, "Budi", -1, {0xc6130002, 41009, 40079}) << 1 << 1009 << 79 << "Budi"
        << 0xc6130002u;
    QTest::newRow("goodbye, high ports") << datagram(2, 41009, 40079, Host, "Budi")
                                         << 2 << 41009 << 40079 << "Budi" << 0u;
    QTest::newRow("no name") << datagram(1, 1009, 79, Host, "") << 1 << 1009 << 79 << "" << 0u;
    QTest::newRow("utf-8 name") << datagram(1, 1009, 79, Host, "Zo\xc3\xab\xe2\x82\xac")
                                << 1 << 1009 << 79 << QStringLiteral("Zoë€") << 0u;
    QTest::newRow("longest name") << datagram(1, 1009, 79, Host, QByteArray(48, 'a'))
                                  << 1 << 1009 << 79 << QString(48, u'a') << 0u;
}

void TestLanAnnouncement::parsesWellFormed()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, kind);
    QFETCH(int, match);
    QFETCH(int, probe);
    QFETCH(QString, name);
    const auto a = LanAnnouncement::parse(bytes);
    QVERIFY(a);
    QCOMPARE(int(a->kind), kind);
    QCOMPARE(int(a->matchPort), match);
    QCOMPARE(int(a->probePort), probe);
    QCOMPARE(a->address, Host);
    QCOMPARE(a->name, name);
    QTEST(a->publicAddress, "publicAddress");
    QCOMPARE(a->encode(), bytes);
}

void TestLanAnnouncement::dropsMalformed_data()
{
    QTest::addColumn<QByteArray>("bytes");

    const QByteArray good = datagram(1, 1009, 79, Host, "Budi");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("header cut short") << good.left(LanAnnouncement::HeaderBytes - 1);
    QTest::newRow("name cut short") << good.chopped(1);
    QTest::newRow("a byte after the name") << good + 'x';
    QTest::newRow("wrong magic") << QByteArray("DRVX") + good.mid(4);
    QTest::newRow("version 1") << good.left(4) + '\x01' + good.mid(5);
    QTest::newRow("public address without ports") << datagram(1, 1009, 79, Host, "Budi", -1, {0xc6130002, 0, 0});
    QTest::newRow("public ports without address") << datagram(1, 1009, 79, Host, "Budi", -1, {0, 41009, 40079});
    QTest::newRow("public probe port 0") << datagram(1, 1009, 79, Host, "Budi", -1, {0xc6130002, 41009, 0});
    QTest::newRow("kind 0") << datagram(0, 1009, 79, Host, "Budi");
    QTest::newRow("kind 3") << datagram(3, 1009, 79, Host, "Budi");
    QTest::newRow("match port 0") << datagram(1, 0, 79, Host, "Budi");
    QTest::newRow("probe port 0") << datagram(1, 1009, 0, Host, "Budi");
    QTest::newRow("address 0") << datagram(1, 1009, 79, 0, "Budi");
    QTest::newRow("name over the bound") << datagram(1, 1009, 79, Host, QByteArray(49, 'a'));
    QTest::newRow("length byte 255, short body") << datagram(1, 1009, 79, Host, "Budi", 255);
    QTest::newRow("oversized") << datagram(1, 1009, 79, Host, QByteArray(4000, 'a'), 48);
    QTest::newRow("invalid utf-8") << datagram(1, 1009, 79, Host, "Bu\xff");
    QTest::newRow("overlong slash") << datagram(1, 1009, 79, Host, "\xc0\xaf");
    QTest::newRow("utf-16 surrogate") << datagram(1, 1009, 79, Host, "\xed\xa0\x80");
    QTest::newRow("nul in name") << datagram(1, 1009, 79, Host, QByteArray("Bu\0di", 5));
    QTest::newRow("line break in name") << datagram(1, 1009, 79, Host, "Bu\r\ndi");
    QTest::newRow("C1 control") << datagram(1, 1009, 79, Host, "\xc2\x85");
    QTest::newRow("line separator") << datagram(1, 1009, 79, Host, "\xe2\x80\xa8");
    QTest::newRow("byte-order mark") << datagram(1, 1009, 79, Host, "\xef\xbb\xbf" "Budi");
}

void TestLanAnnouncement::dropsMalformed()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(!LanAnnouncement::parse(bytes));
}

void TestLanAnnouncement::encodeGivesWhatParseAccepts_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("parsed");

    QTest::newRow("plain") << "Budi" << "Budi";
    QTest::newRow("empty") << "" << "";
    QTest::newRow("cp1252 letters") << QStringLiteral("Renée €") << QStringLiteral("Renée €");
    QTest::newRow("controls become spaces") << "a\tb\nc" << "a b c";
    QTest::newRow("cut at the bound") << QString(60, u'a') << QString(48, u'a');
    // 47 ASCII bytes leave one: a two-byte letter must not be split.
    QTest::newRow("never splits a letter") << QString(47, u'a') + QStringLiteral("é")
                                           << QString(47, u'a');
    QTest::newRow("never splits a surrogate pair")
        << QString(46, u'a') + QString::fromUcs4(U"\U0001F600") << QString(46, u'a');
}

void TestLanAnnouncement::encodeGivesWhatParseAccepts()
{
    QFETCH(QString, name);
    QFETCH(QString, parsed);
    for (const auto kind : {LanAnnouncement::Kind::Announce, LanAnnouncement::Kind::Goodbye}) {
        LanAnnouncement a;
        a.kind = kind;
        a.matchPort = 41009;
        a.probePort = 79;
        a.address = Host;
        a.name = name;
        const QByteArray bytes = a.encode();
        QVERIFY(bytes.size() <= LanAnnouncement::MaxBytes);
        const auto back = LanAnnouncement::parse(bytes);
        QVERIFY(back);
        QCOMPARE(back->kind, kind);
        QCOMPARE(back->matchPort, quint16(41009));
        QCOMPARE(back->probePort, quint16(79));
        QCOMPARE(back->address, Host);
        QCOMPARE(back->name, parsed);
    }
}

QTEST_GUILESS_MAIN(TestLanAnnouncement)
#include "tst_lan_announcement.moc"
