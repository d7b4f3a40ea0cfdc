#include "model/computer_opponent.h"
#include "model/match_model.h"
#include "model/practice_totals.h"
#include "model/wire_peer.h"
#include "rules/cell.h"
#include "support/worst_point.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

// The opponent seam from the model's side: the network peer's typed calls become the same
// wire messages as ever; the computer plays when the board waits for it and never else;
// the practice totals' file.
class TestComputerOpponent : public QObject
{
    Q_OBJECT

private slots:
    void wirePeerMessages_data()
    {
        QTest::addColumn<int>("side");
        QTest::addColumn<QString>("call");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("now");
        const int host = int(MatchSide::Host);
        const int join = int(MatchSide::Join);
        QTest::newRow("move") << host << "move B2" << "B2" << true;
        QTest::newRow("chat") << host << "chat hi" << "msg: hi" << false;
        QTest::newRow("total") << join << "total 7" << "$7" << false;
        QTest::newRow("host name") << host << "name Ani" << "OAni" << false;
        QTest::newRow("joiner name") << join << "name Bob" << "XBob" << false;
        QTest::newRow("restart") << host << "restart" << "X" << false;
    }

    void wirePeerMessages()
    {
        QFETCH(int, side);
        QFETCH(QString, call);
        QFETCH(QString, message);
        QFETCH(bool, now);
        QStringList sent;
        bool sentNow = false;
        WirePeer peer(MatchSide(side), [&](const QString &text, bool flush) {
            sent << text;
            sentNow = flush;
            return true;
        });
        const QString verb = call.section(u' ', 0, 0);
        const QString argument = call.section(u' ', 1);
        if (verb == QLatin1String("move"))
            QVERIFY(peer.movePlaced(Cell::indexOf(argument)));
        else if (verb == QLatin1String("chat"))
            QVERIFY(peer.chatSent(argument));
        else if (verb == QLatin1String("total"))
            QVERIFY(peer.totalSent(argument));
        else if (verb == QLatin1String("name"))
            QVERIFY(peer.nameSent(argument));
        else
            QVERIFY(peer.restartOrdered());
        QCOMPARE(sent, QStringList{message});
        QCOMPARE(sentNow, now);
    }

    void delayFromEnvironment_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<int>("delay");  // -1: varied
        QTest::newRow("off") << QByteArray("0") << 0;
        QTest::newRow("fixed") << QByteArray("450") << 450;
        QTest::newRow("unset") << QByteArray() << -1;
        QTest::newRow("word") << QByteArray("cepat") << -1;
        QTest::newRow("negative") << QByteArray("-5") << -1;
        QTest::newRow("an hour") << QByteArray("3600000") << -1;
    }

    void delayFromEnvironment()
    {
        QFETCH(QByteArray, value);
        QFETCH(int, delay);
        if (value.isNull())
            qunsetenv("DORVALA_COMPUTER_DELAY");
        else
            qputenv("DORVALA_COMPUTER_DELAY", value);
        QCOMPARE(ComputerOpponent::delayFromEnvironment().value_or(-1), delay);
        qunsetenv("DORVALA_COMPUTER_DELAY");
    }

    // The computer opens when the player took X, answers each move, and its line decides:
    // the player's total falls by one and the computer's rises by one.
    void playsItsTurnsOnly()
    {
        MatchModel model(MatchSide::Join);
        auto *computer = new ComputerOpponent(model, ComputerLevel::Sempurna, 1);
        computer->setDelay(0);
        model.setOpponent(computer);
        QSignalSpy chosen(computer, &ComputerOpponent::moveChosen);
        model.LockBoard();
        model.connected();
        computer->start();
        QCOMPARE(model.Oname(), "Komputer (Sempurna)");
        QTRY_COMPARE(chosen.count(), 1);
        QVERIFY(!model.isLocked());
        // The player's turn: nothing more comes until the player moves.
        QTest::qWait(30);
        QCOMPARE(chosen.count(), 1);

        for (int turn = 0; turn < 4 && model.game() == MatchModel::Game::Playing; ++turn) {
            QTRY_VERIFY(!model.isLocked() || model.game() == MatchModel::Game::Decided);
            QCoreApplication::processEvents();  // the win check that follows each move
            if (model.game() == MatchModel::Game::Decided)
                break;
            const int before = int(chosen.count());
            model.click(worstPoint(model));
            QTRY_VERIFY(chosen.count() == before + 1 || model.game() == MatchModel::Game::Decided);
        }
        QTRY_COMPARE(model.game(), MatchModel::Game::Decided);
        QCOMPARE(model.WR(), "-1");
        QTRY_COMPARE(model.WRL2(), "1");
        const int moves = int(chosen.count());
        QTest::qWait(30);
        QCOMPARE(chosen.count(), moves);  // none on a decided board
        QTRY_COMPARE(model.LastMsg(), "msg: " + ComputerOpponent::onComputerWin());
    }

    void totalsFile_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("player");
        QTest::addColumn<QString>("computer");
        QTest::addColumn<bool>("notice");
        QTest::newRow("both") << QByteArray("pemain=5\nkomputer=-3\n") << "5" << "-3" << false;
        QTest::newRow("any order, CR LF") << QByteArray("komputer=2\r\npemain=1\r\n") << "1" << "2" << false;
        QTest::newRow("one missing") << QByteArray("pemain=5\n") << "5" << "0" << true;
        QTest::newRow("no number") << QByteArray("pemain=lima\nkomputer=1\n") << "0" << "1" << true;
        QTest::newRow("binary") << QByteArray("\x00\xff\x01=", 4) << "0" << "0" << true;
        QTest::newRow("too big") << QByteArray(100000, '7') << "0" << "0" << true;
    }

    void totalsFile()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, player);
        QFETCH(QString, computer);
        QFETCH(bool, notice);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("latihan.txt"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        PracticeTotals totals(path);
        totals.load();
        QCOMPARE(totals.player(), player);
        QCOMPARE(totals.computer(), computer);
        QCOMPARE(!totals.notice().isEmpty(), notice);
        // Saved and read back: whole again.
        QVERIFY(totals.save());
        PracticeTotals again(path);
        again.load();
        QCOMPARE(again.player(), player);
        QCOMPARE(again.computer(), computer);
        QVERIFY(again.notice().isEmpty());
    }

    void totalsUnwritable()
    {
        QTemporaryDir dir;
        QFile blocker(dir.filePath(QStringLiteral("file")));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        PracticeTotals totals(dir.filePath(QStringLiteral("file/latihan.txt")));
        QVERIFY(!totals.save());
        QVERIFY(!totals.notice().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestComputerOpponent)
#include "tst_computer_opponent.moc"
