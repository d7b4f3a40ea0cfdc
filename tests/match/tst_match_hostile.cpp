#include "match/chat_history.h"
#include "match/host_screen.h"
#include "match/join_screen.h"
#include "model/match_model.h"
#include "platform/rtf_document.h"
#include "rules/cell.h"
#include "wire/wire_message.h"

#include "support/match_fixture.h"
#include "support/match_peer.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QTest>
#include <QTextEdit>
#include <QTimer>

using F = MatchFixture;

// A live screen fed by a bare socket that breaks every rule a conforming peer keeps: the
// screen must stay up and answer, show the peer's text as text, and keep the score file
// whole. What odd messages mean is the wire and model tests' business.
class TestMatchHostile : public QObject
{
    Q_OBJECT

private slots:
    void hostTakesAbuse_data()
    {
        QTest::addColumn<QByteArray>("payload");
        QTest::addColumn<QString>("control");
        QTest::addColumn<QString>("expected");  // a trailing '*' means "starts with"
        const QByteArray mega(1 << 20, 'a');
        QTest::newRow("1 MB chat") << "msg: " + mega + "Z" << "Xmsg" << "visible";
        QTest::newRow("1 MB name") << "X" + mega + "Z" << "Xname" << "aaaaaaaa*";
        QTest::newRow("1 MB score") << "$" + QByteArray(1 << 20, '9') + "Z" << "WRL2" << "9999*";
        QTest::newRow("markup in name") << QByteArray("X<b>Bob</b><img src=x>") << "Xname"
                                        << "<b>Bob</b><img src=x>";
        QTest::newRow("markup in chat") << QByteArray("msg: <i>hi</i><br>") << "Cx"
                                        << "Menunggu Koneksi:  <i>hi</i><br>\n*";
        QTest::newRow("NUL and breaks in name") << QByteArray("Xa\0b\r\nc", 7) << "Xname"
                                                << QString::fromLatin1("a\0b\r\nc", 6);
    }

    void hostTakesAbuse()
    {
        QFETCH(QByteArray, payload);
        QFETCH(QString, control);
        QFETCH(QString, expected);
        F f;
        MatchPeer peer;
        QVERIFY(f.openHostWithPeer(peer));
        HostScreen *host = f.host.get();
        const QSize nameBox = host->findChild<QWidget *>("Xname")->size();

        peer.sendRaw(payload);
        // However the bytes were split into arrivals, the last one ends the payload.
        const QString tail = WireMessage::decode(payload.right(1));
        QTRY_VERIFY_WITH_TIMEOUT(host->model()->LastMsg().endsWith(tail), 20000);

        QString actual = control == QLatin1String("Cx") ? f.chat->Cx()->toPlainText() : F::text(host, control);
        if (expected == QLatin1String("visible"))
            actual = F::visible(host, control) ? expected : QStringLiteral("hidden");
        if (expected.endsWith(u'*'))
            QVERIFY2(actual.startsWith(expected.chopped(1)), qPrintable(actual.left(80)));
        else
            QCOMPARE(actual, expected);
        if (auto *label = host->findChild<QLabel *>(control))
            QCOMPARE(label->textFormat(), Qt::PlainText);
        QCOMPARE(host->findChild<QWidget *>("Xname")->size(), nameBox);
        host->repaint();  // painting a huge text must not hang either
        verifyResponsive(host, peer);
        verifyScoreFileWhole(f);
    }

    void hostBurst()
    {
        F f;
        MatchPeer peer;
        QVERIFY(f.openHostWithPeer(peer));
        for (int i = 0; i < 10000; ++i)
            peer.sendRaw(i % 2 ? QByteArrayLiteral("$1") : QByteArrayLiteral("B2"));
        peer.sendRaw("$2");
        QTRY_VERIFY_WITH_TIMEOUT(f.host->model()->LastMsg().endsWith(QLatin1String("$2")), 30000);
        // Glued arrivals are one odd message each; whatever came apart was obeyed. Either way
        // every answer to a Score is a Score.
        for (const QString &reply : peer.messages.mid(1))
            QVERIFY2(reply.startsWith(QLatin1String("$0")), qPrintable(reply.left(40)));
        verifyResponsive(f.host.get(), peer);
        verifyScoreFileWhole(f);
    }

    void peerVanishesMidMove()
    {
        F f;
        MatchPeer peer;
        QVERIFY(f.openHostWithPeer(peer));
        HostScreen *host = f.host.get();
        F::clickPoint(host, QStringLiteral("A1"));
        QTRY_COMPARE_WITH_TIMEOUT(peer.messages, (QStringList{"OAni", "A1"}), 10000);

        peer.sendRaw("B");  // half a move, then the peer is gone without a goodbye
        peer.socket().abort();
        QTRY_COMPARE_WITH_TIMEOUT(F::text(host, "infox"), "Koneksi Terputus", 10000);
        QCOMPARE(F::state(host, "A1"), "O");
        QVERIFY(!F::enabled(host, "Command3"));

        // A move or a line sent now goes nowhere, quietly.
        QTest::keyClicks(host->findChild<QWidget *>("Text1"), QStringLiteral("halo"));
        F::click(host, "Command1");
        host->model()->UnlockBoard();
        host->model()->click(Cell::indexOf(u"B2"));
        QCOMPARE(F::state(host, "B2"), "O");
        QVERIFY(host->isVisible());
        verifyScoreFileWhole(f);
    }

    void joinTakesAbuse()
    {
        F f;
        MatchPeer host;
        QVERIFY(host.listen(f.env.port()));
        JoinScreen *join = f.openJoin(QStringLiteral("Bob"));
        QTRY_VERIFY_WITH_TIMEOUT(host.isConnected(), 10000);
        host.sendRaw("O<b>Ani</b>" + QByteArray(1 << 20, 'n'));
        QTRY_VERIFY_WITH_TIMEOUT(join->model()->LastMsg().endsWith(u'n'), 20000);
        QVERIFY(F::text(join, "Oname").startsWith(QLatin1String("<b>Ani</b>nnn")));
        QTest::qWait(50);
        for (int i = 0; i < 10000; ++i)
            host.sendRaw("X");
        host.sendRaw("C3");
        QTRY_VERIFY_WITH_TIMEOUT(join->model()->LastMsg().endsWith(QLatin1String("C3")), 30000);
        // Every answer the joiner gave was a Score (or its name); nothing else leaked out.
        for (const QString &reply : std::as_const(host.messages))
            QVERIFY2(reply.startsWith(u'$') || reply == QLatin1String("XBob"), qPrintable(reply.left(40)));
        verifyResponsive(join, host);
        verifyScoreFileWhole(f);
    }

private:
    // The event loop turns over promptly and a fresh message is still understood.
    void verifyResponsive(MatchScreen *screen, MatchPeer &peer)
    {
        QVERIFY(screen->isVisible());
        QElapsedTimer clock;
        clock.start();
        bool turned = false;
        QTimer::singleShot(0, screen, [&] { turned = true; });
        QTRY_VERIFY_WITH_TIMEOUT(turned, 10000);
        QVERIFY2(clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed())));
        const bool host = screen->side() == MatchSide::Host;
        peer.sendRaw(host ? "XProbe" : "OProbe");
        QTRY_COMPARE_WITH_TIMEOUT(F::text(screen, host ? "Xname" : "Oname"), "Probe", 10000);
    }

    void verifyScoreFileWhole(const F &f)
    {
        RtfDocument::LoadStatus status;
        QCOMPARE(RtfDocument::load(f.env.scoreFile(), &status), "0");
        QCOMPARE(status, RtfDocument::LoadStatus::Ok);
    }
};

QTEST_MAIN(TestMatchHostile)
#include "tst_match_hostile.moc"
