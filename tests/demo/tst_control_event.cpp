#include "control/control_event.h"
#include "demo/demo_transcript.h"

#include <QtTest>

// The event lines a controlled program writes, and the transcript a director makes of two
// players' events.
class ControlEventTest : public QObject
{
    Q_OBJECT

private slots:
    void parse_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("event");  // kind|payload|t, empty when not an event
        QTest::newRow("move") << "sent B2 17" << "sent|B2|17";
        QTest::newRow("caption with spaces") << "verdict Anda Menang! Bonus!! +Triple Score 5"
                                             << "verdict|Anda Menang! Bonus!! +Triple Score|5";
        QTest::newRow("chat keeps inner spaces") << "received msg:  a  b 9" << "received|msg:  a  b|9";
        QTest::newRow("empty payload") << "received  123" << "received||123";
        QTest::newRow("answer") << "ok click B2 B2" << "";
        QTest::newRow("state answer") << "state {\"WR\":\"0\"}" << "";
        QTest::newRow("no time") << "sent B2 soon" << "";
        QTest::newRow("kind alone") << "sent" << "";
        QTest::newRow("unknown kind") << "moved B2 17" << "";
    }

    void parse()
    {
        QFETCH(QString, line);
        const std::optional<ControlEvent> e = ControlEvent::parse(line);
        QTEST(e ? e->kind + u'|' + e->payload + u'|' + QString::number(e->t) : QString(), "event");
        if (e)
            QCOMPARE(e->format(), line);
    }

    void escape_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("escaped");
        QTest::newRow("plain") << "msg: halo" << "msg: halo";
        QTest::newRow("line breaks") << "a\r\nb" << "a\\r\\nb";
        QTest::newRow("backslash") << "C:\\dvq" << "C:\\\\dvq";
        QTest::newRow("control") << QStringLiteral("a\x01z") << "a\\x01z";
        QTest::newRow("tab and delete") << QStringLiteral("\t\x7f") << "\\t\\x7f";
        QTest::newRow("non-ASCII stays") << QStringLiteral("caf\u00e9") << QStringLiteral("caf\u00e9");
    }

    void escape()
    {
        QFETCH(QString, text);
        QFETCH(QString, escaped);
        QCOMPARE(ControlEvent::escape(text), escaped);
        QCOMPARE(ControlEvent::unescape(escaped), text);
        // An event line never breaks, whatever the peer sent, nor grows without end.
        QVERIFY(!ControlEvent::escape(text).contains(u'\n'));
        QCOMPARE(ControlEvent::escape(QString(1000, u'a') + text, 200), QString(200, u'a') + "...");
    }

    void transcript_data()
    {
        // Events of the two sides as "kind payload t" lines.
        QTest::addColumn<QStringList>("budi");
        QTest::addColumn<QStringList>("sari");
        QTest::addColumn<QStringList>("expected");  // fragments of the lines after the header
        QTest::newRow("a move arrives and is drawn")
            << QStringList{"sent A1 1000000"}
            << QStringList{"received A1 1500000", "drawn A1 - 1000", "drawn A1 O 3000000"}
            << QStringList{"Budi  Sari  \"A1\"", "+0.5 ms", "+2.0 ms"};
        QTest::newRow("in time order from both sides")
            << QStringList{"sent OBudi 0", "received $0 2000000"}
            << QStringList{"received OBudi 1000000", "sent $0 1000000"}
            << QStringList{"0.000  Budi  Sari  \"OBudi\"", "0.001  Sari  Budi  \"$0\""};
        QTest::newRow("glued messages are named")
            << QStringList{"sent $0 0", "sent OBudi 1000"}
            << QStringList{"received $0OBudi 5000"}
            << QStringList{"\"$0\"", "not on its own", "\"OBudi\"", "not on its own"};
        QTest::newRow("a repeated message pairs in order")
            << QStringList{"sent $0 0", "sent $0 10000000"}
            << QStringList{"received $0 1000000", "received $0 12000000"}
            << QStringList{"+1.0 ms", "+2.0 ms"};
    }

    void transcript()
    {
        QFETCH(QStringList, budi);
        QFETCH(QStringList, sari);
        QFETCH(QStringList, expected);
        auto side = [](const QString &name, const QStringList &lines) {
            DemoTranscript::Side s{name, {}};
            for (const QString &line : lines)
                s.events << *ControlEvent::parse(line);
            return s;
        };
        const QStringList lines = DemoTranscript::lines(side("Budi", budi), side("Sari", sari));
        const QString body = lines.mid(1).join(u'\n');
        qsizetype at = 0;
        for (const QString &fragment : expected) {
            const qsizetype found = body.indexOf(fragment, at);
            QVERIFY2(found >= 0, qPrintable(fragment + QStringLiteral(" in\n") + body));
            at = found + fragment.size();
        }
    }
};

QTEST_GUILESS_MAIN(ControlEventTest)
#include "tst_control_event.moc"
