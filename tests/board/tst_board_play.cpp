#include "board/board_play.h"
#include "board/board_view.h"
#include "board/cell.h"
#include "board/point_image.h"
#include "board/score_file.h"
#include "platform/rtf_document.h"

#include <QEvent>
#include <QLabel>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

Q_DECLARE_METATYPE(BoardPlay::Side)

namespace {

// Writes "off:A1" / "on:A1" whenever a point's enabled flag changes.
class EnabledRecorder : public QObject
{
public:
    explicit EnabledRecorder(QStringList *events)
        : m_events(events)
    {
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::EnabledChange) {
            const auto *point = static_cast<QWidget *>(watched);
            *m_events << (point->isEnabled() ? QStringLiteral("on:") : QStringLiteral("off:"))
                             + point->objectName();
        }
        return false;
    }

private:
    QStringList *m_events;
};

// One screen's worth of controls around a BoardPlay, recording what it does in order.
struct Screen
{
    explicit Screen(BoardPlay::Side side, const QString &scorePath = {})
        : WR(scorePath.isEmpty() ? dir.filePath(QStringLiteral("dvq")) : scorePath)
        , recorder(&events)
    {
        WR.load();
        for (int i = 0; i < Cell::Count; ++i)
            view.point(i)->installEventFilter(&recorder);
        BoardPlay::Controls controls;
        controls.view = &view;
        controls.LastMsg = &LastMsg;
        controls.WR = &WR;
        controls.WRL2 = &WRL2;
        controls.Xname = &Xname;
        controls.Oname = &Oname;
        controls.send = [this](const QString &message) {
            const int index = Cell::indexOf(message);
            events << QStringLiteral("send:%1 %1=%2").arg(message, play->board().state(index));
        };
        controls.cue = [this](const QString &name) { events << QStringLiteral("cue:") + name; };
        play = std::make_unique<BoardPlay>(side, controls);
    }

    void setBoard(const QString &text)
    {
        play->board().setStates(*Board::parse(text));
        QCoreApplication::processEvents();
        events.clear();
    }

    // The nine enabled changes in the order A1 .. C3 read as one "lock" / "unlock".
    QStringList steps() const
    {
        QStringList out;
        for (qsizetype i = 0; i < events.size();) {
            const QString kind = events[i].section(u':', 0, 0);
            bool run = kind == QLatin1String("off") || kind == QLatin1String("on");
            for (int k = 0; run && k < Cell::Count; ++k)
                run = i + k < events.size() && events[i + k] == kind + u':' + Cell::name(k);
            if (run) {
                out << (kind == QLatin1String("off") ? QStringLiteral("lock") : QStringLiteral("unlock"));
                i += Cell::Count;
            } else {
                out << events[i++];
            }
        }
        return out;
    }

    QTemporaryDir dir;
    BoardView view;
    QString LastMsg = QStringLiteral("earlier");
    ScoreFile WR;
    QLabel WRL2{QStringLiteral("0")};
    QLabel Xname{QStringLiteral("Xavier")};
    QLabel Oname{QStringLiteral("Olga")};
    QStringList events;
    EnabledRecorder recorder;
    std::unique_ptr<BoardPlay> play;
};

} // namespace

class TestBoardPlay : public QObject
{
    Q_OBJECT

private slots:
    void click_data();
    void click();
    void receive_data();
    void receive();
    void gameEnd_data();
    void gameEnd();
    void restartKeepsTurn();
    void failedSaveIsReported();
    void damagedScoreIsReported();
};

void TestBoardPlay::click_data()
{
    QTest::addColumn<BoardPlay::Side>("side");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("cell");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QString>("lastMsg");
    const auto host = BoardPlay::Side::Host;
    const auto joiner = BoardPlay::Side::Joiner;
    QTest::newRow("host, free point") << host << ".../.../X.." << "B2" << ".../.O./X.."
        << QStringList{"send:B2 B2=O", "lock", "cue:MeC"} << "B2";
    QTest::newRow("joiner, free corner") << joiner << ".../.O./..." << "C1" << "..X/.O./..."
        << QStringList{"send:C1 C1=X", "lock", "cue:MeC"} << "C1";
    QTest::newRow("opponent's piece") << host << ".../.X./..." << "B2" << ".../.X./..."
        << QStringList{"cue:MEX"} << "earlier";
    QTest::newRow("scored X") << host << "x../.../..." << "A1" << "x../.../..."
        << QStringList{"cue:MEX"} << "earlier";
    QTest::newRow("scored O") << host << ".../.../..o" << "C3" << ".../.../..o"
        << QStringList{"cue:MEX"} << "earlier";
}

void TestBoardPlay::click()
{
    QFETCH(BoardPlay::Side, side);
    QFETCH(QString, before);
    QFETCH(QString, cell);
    QFETCH(QString, after);
    QFETCH(QStringList, steps);
    QFETCH(QString, lastMsg);
    Screen screen(side);
    screen.setBoard(before);
    using Handler = void (BoardPlay::*)();
    static constexpr Handler handlers[] = {
        &BoardPlay::A1_Click, &BoardPlay::A2_Click, &BoardPlay::A3_Click,
        &BoardPlay::B1_Click, &BoardPlay::B2_Click, &BoardPlay::B3_Click,
        &BoardPlay::C1_Click, &BoardPlay::C2_Click, &BoardPlay::C3_Click};
    (screen.play.get()->*handlers[Cell::indexOf(cell)])();
    QCOMPARE(screen.steps(), steps);
    QCOMPARE(screen.play->board().toString(), after);
    QCOMPARE(screen.LastMsg, lastMsg);
}

void TestBoardPlay::receive_data()
{
    QTest::addColumn<BoardPlay::Side>("side");
    QTest::addColumn<QString>("XO");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QStringList>("steps");
    const auto host = BoardPlay::Side::Host;
    const auto joiner = BoardPlay::Side::Joiner;
    QTest::newRow("host gets A1") << host << "O" << ".../.O./..." << "A1" << "X../.O./..."
                                  << QStringList{"unlock", "cue:MEI"};
    QTest::newRow("joiner gets C3 over its own X") << joiner << "X" << ".../.../..X" << "C3"
                                                   << ".../.../..O" << QStringList{"unlock", "cue:MEI"};
    QTest::newRow("host with mark X, no cue") << host << "X" << ".../.../..." << "B2"
                                              << ".../.O./..." << QStringList{"unlock"};
    QTest::newRow("joiner with mark O sounds MeC") << joiner << "O" << ".../.../..." << "B2"
                                                   << ".../.X./..." << QStringList{"unlock", "cue:MeC"};
    QTest::newRow("lower case is no move") << host << "O" << ".../.../..." << "b2" << ".../.../..."
                                           << QStringList{};
    QTest::newRow("restart order is no move") << joiner << "X" << "O../.../..." << "X"
                                              << "O../.../..." << QStringList{};
}

void TestBoardPlay::receive()
{
    QFETCH(BoardPlay::Side, side);
    QFETCH(QString, XO);
    QFETCH(QString, before);
    QFETCH(QString, message);
    QFETCH(QString, after);
    QFETCH(QStringList, steps);
    Screen screen(side);
    screen.play->setXO(XO);
    screen.play->LockBoard();
    screen.setBoard(before);
    screen.LastMsg = message;
    QCOMPARE(screen.play->receiveMove(), !steps.isEmpty());
    QCOMPARE(screen.steps(), steps);
    QCOMPARE(screen.play->board().toString(), after);
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
    QFETCH(QString, file);
    QFETCH(QString, cues);
    Screen screen(side);
    screen.setBoard(before);
    // A different text in the file shows whether the move saved the total.
    QVERIFY(RtfDocument::save(screen.WR.path(), QStringLiteral("5")));

    const int index = Cell::indexOf(move.section(u' ', 1));
    if (move.startsWith(QLatin1String("click"))) {
        screen.play->click(index);
    } else {
        screen.LastMsg = move.section(u' ', 1);
        QVERIFY(screen.play->receiveMove());
    }
    // Detection waits until the handler is done; the new piece is still plain.
    QVERIFY(screen.play->board().state(index).size() == 1);
    QVERIFY(screen.view.infox()->isHidden());

    if (caption.isEmpty())
        QCoreApplication::processEvents();
    QTRY_COMPARE_WITH_TIMEOUT(screen.play->board().toString(), after, 10000);
    QCOMPARE(screen.view.infox()->text(), caption);
    QCOMPARE(screen.view.infox()->isHidden(), caption.isEmpty());
    QCOMPARE(screen.view.trans()->isHidden(), caption.isEmpty());
    QCOMPARE(screen.WR.text(), WR);
    QCOMPARE(screen.WRL2.text(), WRL2);
    QCOMPARE(RtfDocument::load(screen.WR.path()), file);
    QStringList heard;
    for (const QString &event : std::as_const(screen.events)) {
        if (event.startsWith(QLatin1String("cue:")))
            heard << event.mid(4);
    }
    QCOMPARE(heard.join(u' '), cues);

    // Later ticks find nothing new.
    screen.events.clear();
    QVERIFY(screen.play->WinTime_Timer().isEmpty());
    QCOMPARE(screen.play->board().toString(), after);
    QCOMPARE(screen.WR.text(), WR);
    QCOMPARE(screen.WRL2.text(), WRL2);
    QVERIFY(screen.events.isEmpty());
}

void TestBoardPlay::restartKeepsTurn()
{
    Screen screen(BoardPlay::Side::Host);
    screen.setBoard("O../O../...");
    screen.play->click(Cell::indexOf(u"A3"));
    QTRY_VERIFY_WITH_TIMEOUT(!screen.view.infox()->isHidden(), 10000);
    screen.events.clear();

    screen.play->restart();
    QCOMPARE(screen.play->board().toString(), QStringLiteral(".../.../..."));
    QVERIFY(screen.view.trans()->isHidden());
    QVERIFY(screen.view.infox()->isHidden());
    QCOMPARE(screen.steps(), QStringList());  // still locked by the last move
    QVERIFY(!screen.view.point(0)->isEnabled());
    QCOMPARE(screen.WR.text(), QStringLiteral("1"));
}

void TestBoardPlay::failedSaveIsReported()
{
    QTemporaryDir dir;
    QFile plain(dir.filePath(QStringLiteral("plain")));
    QVERIFY(plain.open(QIODevice::WriteOnly));
    plain.close();
    Screen screen(BoardPlay::Side::Joiner, plain.fileName() + QStringLiteral("/dvq"));
    QSignalSpy problems(screen.play.get(), &BoardPlay::scoreFileProblem);
    screen.setBoard(".X./.X./...");
    screen.play->click(Cell::indexOf(u"B3"));
    QTRY_COMPARE_WITH_TIMEOUT(problems.count(), 1, 10000);
    QVERIFY(problems.first().first().toString().startsWith(QStringLiteral("Total skor tidak")));
    QCOMPARE(screen.WR.text(), QStringLiteral("1"));
    QCOMPARE(screen.view.infox()->text(), QStringLiteral("Anda Menang!"));
}

void TestBoardPlay::damagedScoreIsReported()
{
    Screen screen(BoardPlay::Side::Host);
    QSignalSpy problems(screen.play.get(), &BoardPlay::scoreFileProblem);
    screen.play->loadScore();
    QCOMPARE(problems.count(), 0);

    QVERIFY(RtfDocument::save(screen.WR.path(), QStringLiteral("sepuluh")));
    screen.play->loadScore();
    QCOMPARE(problems.count(), 1);
    QVERIFY(problems.first().first().toString().startsWith(QStringLiteral("Berkas skor rusak")));
    QCOMPARE(screen.WR.text(), QStringLiteral("0"));
}

QTEST_MAIN(TestBoardPlay)
#include "tst_board_play.moc"
