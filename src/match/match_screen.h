#pragma once

#include "board/score_file.h"
#include "rules/match_side.h"
#include "model/game_event.h"

#include <QPixmap>
#include <QPointer>
#include <QString>
#include <QWidget>

class BoardView;
class ChatHistory;
class ClippedLabel;
class MatchCues;
class MatchModel;
class MatchSocket;
class QLabel;
class QLineEdit;
class QPushButton;
class QTimer;

// What the host's screen and the joiner's share: the board at the top-left, the players'
// names and totals, the turn picture, the chat line with its bubbles, the buttons, and the
// match connection `data`. The match itself is the model; the screen shows it, hands it
// the player's clicks and the socket's events, and sounds its events. The two sides
// differ only in their load steps, how the connection is made, and a few controls.
//
// Form_Load() is the load step: the owner connects to the signals first, then calls it.
class MatchScreen : public QWidget
{
    Q_OBJECT
public:
    ~MatchScreen() override;

    MatchSide side() const { return m_side; }

    // The load step; runs once.
    void Form_Load();
    // The player's own name: `Oname` on the host, `Xname` on the joiner.
    void setOwnName(const QString &name);
    // The program's one chat history; the owner keeps it alive longer than this screen.
    void setChatHistory(ChatHistory *history);

    MatchModel *model() const { return m_model; }
    BoardView *view() const { return m_view; }
    MatchSocket *socket() const { return m_data; }

    // Unload steps (withdrawal, socket); run once, whether the screen is closed from its
    // title bar, by "Close", or deleted by its owner.
    void Form_QueryUnload();

signals:
    // "Close": the owner shows the setup screen at `position` and unloads this screen.
    void closeRequested(QPoint position);
    // A sound cue was sounded (WIN, MeC, MEX, MEI, Lose, mess, OL).
    void cued(const QString &name);
    // Closed from the title bar: the unload steps have run; the owner deletes the screen.
    void closed();
    // The status line now says `sentence` (the router's answer, a score file's trouble).
    void statusShown(const QString &sentence);

protected:
    MatchScreen(MatchSide side, QWidget *parent);

    virtual void loadSteps() = 0;
    virtual void unloadSteps() {}
    // Where the own total goes at each change: the score file, unless the screen keeps it
    // elsewhere.
    virtual void keepOwnTotal(const QString &total);
    virtual void data_Close();

    // Shared pieces of the load steps.
    void loadChatHistory();
    void loadCues();
    void loadScore();

    void data_DataArrival();
    void Command1_Click();
    void Command2_Click();
    void Command5_Click();
    void Text1_KeyPress(int keyAscii);
    void Timer5_Timer();
    void Timer6_Timer();

    void cue(const QString &name);
    // A sentence for the player that is not part of the game's own texts.
    void showStatus(const QString &sentence);
    // Covers the board with `sentence` over it, as a lost connection does.
    QLabel *label(const char *name, const QString &text, const QRect &geometry);
    ClippedLabel *clippedLabel(const char *name, const QString &text, const QRect &geometry);
    QPushButton *button(const char *name, const QString &caption, const QRect &geometry);

    void closeEvent(QCloseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

    const MatchSide m_side;
    // Where the own total `WR` of the model is kept between runs.
    ScoreFile m_scoreFile;

    MatchModel *m_model = nullptr;
    BoardView *m_view = nullptr;
    MatchSocket *m_data = nullptr;
    MatchCues *m_cues = nullptr;
    QPointer<ChatHistory> CH;

    QPushButton *Command1 = nullptr;
    QPushButton *Command2 = nullptr;
    QPushButton *Command3 = nullptr;
    QPushButton *Command5 = nullptr;
    QLineEdit *Text1 = nullptr;
    ClippedLabel *Oname = nullptr;
    ClippedLabel *Xname = nullptr;
    ClippedLabel *WRL = nullptr;
    ClippedLabel *WRL2 = nullptr;
    ClippedLabel *message = nullptr;
    ClippedLabel *MOUT = nullptr;
    ClippedLabel *status = nullptr;
    QLabel *XO = nullptr;
    QLabel *Label1 = nullptr;
    QLabel *GIL = nullptr;
    QLabel *OutM = nullptr;
    QLabel *TM = nullptr;
    QLabel *TM2 = nullptr;
    QLabel *Omsg = nullptr;
    QLabel *Xmsg = nullptr;
    QTimer *Timer5 = nullptr;
    QTimer *Timer6 = nullptr;

private:
    void buildControls();
    void bindModel();
    void showLink();

    QPixmap m_background;   // decoded once per screen: the store does not keep backgrounds
    bool m_loaded = false;
    bool m_unloaded = false;
};
