#include "board/board_play.h"
#include "board/cell.h"
#include "platform/rtf_document.h"

#include "support/board_rig.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

Q_DECLARE_METATYPE(BoardPlay::Side)

namespace {

// A board with its controls, writing down each send and cue with the turn lock as it was
// at that moment: "send:B2 B2=O open" then "cue:MeC locked" means it locked in between.
struct Screen : BoardRig
{
    Screen(BoardPlay::Side side, const QString &scorePath)
        : BoardRig(
              side, scorePath,
              [this](const QString &message) {
                  record(QStringLiteral("send:%1 %1=%2").arg(message, play.board().state(Cell::indexOf(message))));
              },
              [this](const QString &name) { record(QStringLiteral("cue:") + name); })
    {
        LastMsg = QStringLiteral("earlier");
    }

    void record(const QString &event)
    {
        static const char *const locks[] = {"open", "locked", "partial"};
        events << event + u' ' + QLatin1String(locks[int(lock())]);
    }

    void setBoard(const QString &text)
    {
        play.board().setStates(*Board::parse(text));
        QCoreApplication::processEvents();
        events.clear();
    }

    QStringList events;
};

} // namespace

class TestBoardPlay : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void click_data();
    void click();
    void receive_data();
    void receive();
    void gameEnd_data();
    void gameEnd();
    void failedSaveIsReported();
    void damagedScoreIsReported();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_score;
};

void TestBoardPlay::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_score = m_dir->filePath(QStringLiteral("dvq"));
}

void TestBoardPlay::click_data()
{
    QTest::addColumn<BoardPlay::Side>("side");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("cell");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QStringList>("events");
    QTest::addColumn<QString>("lastMsg");
    const auto host = BoardPlay::Side::Host;
    const auto joiner = BoardPlay::Side::Joiner;
    QTest::newRow("host, free point") << host << ".../.../X.." << "B2" << ".../.O./X.."
        << QStringList{"send:B2 B2=O open", "cue:MeC locked"} << "B2";
    QTest::newRow("joiner, free corner") << joiner << ".../.O./..." << "C1" << "..X/.O./..."
        << QStringList{"send:C1 C1=X open", "cue:MeC locked"} << "C1";
    QTest::newRow("opponent's piece") << host << ".../.X./..." << "B2" << ".../.X./..."
        << QStringList{"cue:MEX open"} << "earlier";
    QTest::newRow("scored X") << host << "x../.../..." << "A1" << "x../.../..."
        << QStringList{"cue:MEX open"} << "earlier";
    QTest::newRow("scored O") << host << ".../.../..o" << "C3" << ".../.../..o"
        << QStringList{"cue:MEX open"} << "earlier";
}

void TestBoardPlay::click()
{
    QFETCH(BoardPlay::Side, side);
    QFETCH(QString, before);
    QFETCH(QString, cell);
    Screen screen(side, m_score);
    screen.setBoard(before);
    using Handler = void (BoardPlay::*)();
    static constexpr Handler handlers[] = {
        &BoardPlay::A1_Click, &BoardPlay::A2_Click, &BoardPlay::A3_Click,
        &BoardPlay::B1_Click, &BoardPlay::B2_Click, &BoardPlay::B3_Click,
        &BoardPlay::C1_Click, &BoardPlay::C2_Click, &BoardPlay::C3_Click};
    (screen.play.*handlers[Cell::indexOf(cell)])();
    QTEST(screen.events, "events");
    QTEST(screen.play.board().toString(), "after");
    QTEST(screen.LastMsg, "lastMsg");
}

void TestBoardPlay::receive_data()
{
    QTest::addColumn<BoardPlay::Side>("side");
    QTest::addColumn<QString>("XO");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("after");
    QTest::addColumn<bool>("moved");  // and so unlocked
    QTest::addColumn<QStringList>("events");
    const auto host = BoardPlay::Side::Host;
    const auto joiner = BoardPlay::Side::Joiner;
    QTest::newRow("host gets A1") << host << "O" << ".../.O./..." << "A1" << "X../.O./..."
                                  << true << QStringList{"cue:MEI open"};
    QTest::newRow("joiner gets C3 over its own X") << joiner << "X" << ".../.../..X" << "C3"
                                                   << ".../.../..O" << true << QStringList{"cue:MEI open"};
    QTest::newRow("host with mark X, no cue") << host << "X" << ".../.../..." << "B2"
                                              << ".../.O./..." << true << QStringList{};
    QTest::newRow("joiner with mark O sounds MeC") << joiner << "O" << ".../.../..." << "B2"
                                                   << ".../.X./..." << true << QStringList{"cue:MeC open"};
    QTest::newRow("lower case is no move") << host << "O" << ".../.../..." << "b2" << ".../.../..."
                                           << false << QStringList{};
    QTest::newRow("restart order is no move") << joiner << "X" << "O../.../..." << "X"
                                              << "O../.../..." << false << QStringList{};
}

void TestBoardPlay::receive()
{
    QFETCH(BoardPlay::Side, side);
    QFETCH(QString, XO);
    QFETCH(QString, before);
    QFETCH(QString, message);
    QFETCH(bool, moved);
    Screen screen(side, m_score);
    screen.play.setXO(XO);
    screen.play.LockBoard();
    screen.setBoard(before);
    screen.LastMsg = message;
    QCOMPARE(screen.play.receiveMove(), moved);
    QTEST(screen.events, "events");
    QCOMPARE(screen.lock(), moved ? BoardRig::Lock::Open : BoardRig::Lock::Locked);
    QTEST(screen.play.board().toString(), "after");
}

void TestBoardPlay::gameEnd_data()
{
    QTest::addColumn<BoardPlay::Side>("side");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("move");  // "click B2" or "receive B2"
    QTest::addColumn<QString>("after");
    QTest::addColumn<QString>("caption");  // empty: the game goes on
    QTest::addColumn<QString>("WR");
    QTest::addColumn<QString>("WRL2");
    QTest::addColumn<QString>("file");  // held "5" before the move
    QTest::addColumn<QString>("cues");
    const auto host = BoardPlay::Side::Host;
    const auto joiner = BoardPlay::Side::Joiner;
    QTest::newRow("host's plus on B2") << host << ".O./O.O/.O." << "click B2" << ".o./ooo/.o."
        << "Anda Menang! Bonus!! +Triple Score" << "3" << "0" << "3" << "MeC WIN";
    QTest::newRow("joiner sees the host's plus") << joiner << ".O./O.O/.O." << "receive B2"
        << ".o./ooo/.o." << "Olga Melakukan +Triple Score" << "0" << "3" << "5" << "MEI Lose";
    QTest::newRow("host sees the joiner's plus") << host << ".X./X.X/.X." << "receive B2"
        << ".x./xxx/.x." << "Xavier Melakukan +Triple Score" << "0" << "3" << "5" << "MEI Lose";
    QTest::newRow("host loses below zero") << host << "X../.X./..." << "receive C3" << "x../.x./..x"
        << "Anda Kalah!" << "-1" << "0" << "-1" << "MEI Lose";
    QTest::newRow("column B beats diagonal 7") << host << "OO./.../.OO" << "click B2"
        << "Oo./.o./.oO" << "Anda Menang!" << "1" << "0" << "1" << "MeC WIN";
    QTest::newRow("joiner's own line") << joiner << "X../X../..." << "click A3" << "x../x../x.."
        << "Anda Menang!" << "1" << "0" << "1" << "MeC WIN";
    QTest::newRow("full board, no line") << host << "XOX/XOO/OX." << "click C3" << "XOX/XOO/OXO"
        << "" << "0" << "0" << "5" << "MeC";
}

void TestBoardPlay::gameEnd()
{
    QFETCH(BoardPlay::Side, side);
    QFETCH(QString, before);
    QFETCH(QString, move);
    QFETCH(QString, after);
    QFETCH(QString, caption);
    QFETCH(QString, WR);
    QFETCH(QString, WRL2);
    QFETCH(QString, cues);
    Screen screen(side, m_score);
    screen.setBoard(before);
    // A different text in the file shows whether the move saved the total.
    QVERIFY(RtfDocument::save(screen.WR.path(), QStringLiteral("5")));

    const int index = Cell::indexOf(move.section(u' ', 1));
    if (move.startsWith(QLatin1String("click"))) {
        screen.play.click(index);
    } else {
        screen.LastMsg = move.section(u' ', 1);
        QVERIFY(screen.play.receiveMove());
    }
    // Detection waits until the handler is done; the new piece is still plain.
    QVERIFY(screen.play.board().state(index).size() == 1);
    QVERIFY(screen.view.infox()->isHidden());

    if (caption.isEmpty())
        QCoreApplication::processEvents();
    QTRY_COMPARE_WITH_TIMEOUT(screen.play.board().toString(), after, 10000);
    QCOMPARE(screen.view.infox()->text(), caption);
    QCOMPARE(screen.view.infox()->isHidden(), caption.isEmpty());
    QCOMPARE(screen.view.trans()->isHidden(), caption.isEmpty());
    QCOMPARE(screen.WR.text(), WR);
    QCOMPARE(screen.WRL2.text(), WRL2);
    QTEST(RtfDocument::load(screen.WR.path()), "file");
    QStringList heard;
    for (const QString &event : std::as_const(screen.events)) {
        if (event.startsWith(QLatin1String("cue:")))
            heard << event.section(u' ', 0, 0).mid(4);
    }
    QCOMPARE(heard.join(u' '), cues);

    // Later ticks find nothing new.
    screen.events.clear();
    QVERIFY(screen.play.WinTime_Timer().isEmpty());
    QCOMPARE(screen.play.board().toString(), after);
    QCOMPARE(screen.WR.text(), WR);
    QCOMPARE(screen.WRL2.text(), WRL2);
    QVERIFY(screen.events.isEmpty());

    // Restart clears the points and the verdict; the turn and the totals stay as they are.
    const BoardRig::Lock turn = screen.lock();
    screen.play.restart();
    QCOMPARE(screen.play.board().toString(), QStringLiteral(".../.../..."));
    QVERIFY(screen.view.trans()->isHidden() && screen.view.infox()->isHidden());
    QCOMPARE(screen.lock(), turn);
    QCOMPARE(screen.WR.text(), WR);
}

void TestBoardPlay::failedSaveIsReported()
{
    // Under a plain file nothing can be created, whatever the user's rights.
    QFile plain(m_dir->filePath(QStringLiteral("plain")));
    QVERIFY(plain.open(QIODevice::WriteOnly));
    plain.close();
    Screen screen(BoardPlay::Side::Joiner, plain.fileName() + QStringLiteral("/dvq"));
    QSignalSpy problems(&screen.play, &BoardPlay::scoreFileProblem);
    screen.setBoard(".X./.X./...");
    screen.play.click(Cell::indexOf(u"B3"));
    QTRY_COMPARE_WITH_TIMEOUT(problems.count(), 1, 10000);
    QVERIFY(problems.first().first().toString().startsWith(QStringLiteral("Total skor tidak dapat disimpan")));
    // The total changes on the screen all the same.
    QCOMPARE(screen.WR.text(), QStringLiteral("1"));
    QCOMPARE(screen.view.infox()->text(), QStringLiteral("Anda Menang!"));
}

void TestBoardPlay::damagedScoreIsReported()
{
    Screen screen(BoardPlay::Side::Host, m_score);
    QSignalSpy problems(&screen.play, &BoardPlay::scoreFileProblem);
    screen.play.loadScore();
    QCOMPARE(problems.count(), 0);

    QVERIFY(RtfDocument::save(screen.WR.path(), QStringLiteral("sepuluh")));
    screen.play.loadScore();
    QCOMPARE(problems.count(), 1);
    QVERIFY(problems.first().first().toString().startsWith(QStringLiteral("Berkas skor rusak")));
    QCOMPARE(screen.WR.text(), QStringLiteral("0"));
}

QTEST_MAIN(TestBoardPlay)
#include "tst_board_play.moc"
