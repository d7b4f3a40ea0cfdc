#include "wire/wire_message.h"
#include "wire/wire_receiver.h"

#include <QTest>

// Effects written compactly so that a table row reads like the behaviour it pins down.
static QString describe(const QList<WireEffect> &effects)
{
    QStringList parts;
    for (const WireEffect &e : effects) {
        switch (e.kind) {
        case WireEffect::Kind::OpponentTotal: parts << "total[" + e.text + "]"; break;
        case WireEffect::Kind::ReplyScore: parts << "reply"; break;
        case WireEffect::Kind::SendScore: parts << "send-score"; break;
        case WireEffect::Kind::Restart: parts << "restart"; break;
        case WireEffect::Kind::Chat: parts << "chat[" + e.text + "]"; break;
        case WireEffect::Kind::LogChat: parts << "log[" + e.text + "]"; break;
        case WireEffect::Kind::OpponentName: parts << "name[" + e.text + "]"; break;
        case WireEffect::Kind::Move: parts << "move[" + e.text + "]"; break;
        }
    }
    return parts.join(' ');
}

class TestWire : public QObject
{
    Q_OBJECT

private slots:
    void receives_data()
    {
        QTest::addColumn<MatchSide>("side");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("effects");

        const auto host = MatchSide::Host;
        const auto join = MatchSide::Join;

        QTest::newRow("host: score") << host << "$7" << "total[7] reply";
        QTest::newRow("join: score is not answered") << join << "$7" << "total[7]";
        QTest::newRow("host: $ alone") << host << "$" << "total[] reply";
        QTest::newRow("host: joiner name") << host << "XBob" << "name[Bob]";
        QTest::newRow("join: X-name is no restart") << join << "XBob" << "";
        QTest::newRow("host: X alone is an empty name") << host << "X" << "name[]";
        QTest::newRow("join: X alone restarts") << join << "X" << "send-score restart";
        QTest::newRow("join: host name") << join << "OAni" << "name[Ani]";
        QTest::newRow("host: O-name ignored") << host << "OAni" << "";
        QTest::newRow("join: host name starting with msg") << join << "Omsg bot" << "name[msg bot]";
        QTest::newRow("host: joiner name starting with msg") << host << "Xmsg" << "name[msg]";
        QTest::newRow("host: chat is logged") << host << "msg: hi" << "chat[ hi] log[ hi]";
        QTest::newRow("join: chat is not logged") << join << "msg: hi" << "chat[ hi]";
        QTest::newRow("host: msg alone skipped") << host << "msg" << "";
        QTest::newRow("host: ms is nothing") << host << "ms" << "";
        QTest::newRow("host: msg with empty text") << host << "msg:" << "chat[] log[]";
        QTest::newRow("join: msgX takes four off") << join << "msgXabc" << "chat[abc]";
        QTest::newRow("host: move") << host << "A1" << "move[A1]";
        QTest::newRow("join: move") << join << "C3" << "move[C3]";
        QTest::newRow("lower-case cell is no move") << host << "b2" << "";
        QTest::newRow("cell with a tail is no move") << join << "B2 " << "";
        QTest::newRow("unknown row letter") << join << "D1" << "";
        QTest::newRow("empty message") << host << "" << "";
        QTest::newRow("host: score glued to name") << host << "$3XBob" << "total[3XBob] reply";
        QTest::newRow("join: name glued to score") << join << "OAni$5" << "name[Ani$5]";
        QTest::newRow("join: two moves glued") << join << "A1B2" << "";
        QTest::newRow("host: restart glued to score") << host << "X$0" << "name[$0]";
        // Bytes the code page leaves undefined, as a hostile peer may send them.
        QTest::newRow("host: undefined bytes in a name")
            << host << QStringLiteral("X\u0081\u008d\u008f\u0090\u009d")
            << QStringLiteral("name[\u0081\u008d\u008f\u0090\u009d]");
    }

    void receives()
    {
        QFETCH(MatchSide, side);
        QFETCH(QString, message);
        // Each message comes over the wire whole, character for character.
        QCOMPARE(WireMessage::decode(WireMessage::encode(message)), message);
        QTEST(describe(WireReceiver::effects(side, message)), "effects");
    }
};

QTEST_GUILESS_MAIN(TestWire)
#include "tst_wire.moc"
