#pragma once

#include <QObject>
#include <QString>

class QLabel;
class QLineEdit;
class QTimer;

// The typewriter bubbles of a match screen. A line sent is typed into `MOUT` over the own
// bubble, a line received into `message` over the opponent's, one character every 50 ms;
// each stays whole for 2 s and then hides. The incoming typewriter reads the screen's
// `LastMsg`, so it types the "msg: " prefix too and follows a move that replaces it.
class MatchChat : public QObject
{
    Q_OBJECT
public:
    // What the screen lends; every pointer must outlive this object.
    struct Controls
    {
        QLineEdit *Text1 = nullptr;
        QLabel *OutM = nullptr;   // the last line sent, hidden
        QLabel *MOUT = nullptr;   // that line as typed so far
        QLabel *TM2 = nullptr;    // outgoing counter
        QLabel *message = nullptr;
        QLabel *TM = nullptr;     // incoming counter
        QLabel *ownBubble = nullptr;
        QLabel *opponentBubble = nullptr;
        const QString *LastMsg = nullptr;
    };

    static constexpr int TypeStep = 50;
    static constexpr int ShowWhole = 2000;

    MatchChat(const Controls &controls, QObject *parent = nullptr);

    // A line has gone out: type it over the own bubble and empty the chat box.
    void showSent(const QString &text);
    // A line has come in (already in LastMsg): type it over the opponent's bubble.
    void showReceived();

    void Timer1_Timer();
    void Timer2_Timer();
    void Timer3_Timer();
    void Timer4_Timer();

private:
    QTimer *timer(const char *name, void (MatchChat::*handler)());
    static int counter(const QLabel *label);

    Controls m_c;
    QTimer *m_Timer1 = nullptr;
    QTimer *m_Timer2 = nullptr;
    QTimer *m_Timer3 = nullptr;
    QTimer *m_Timer4 = nullptr;
};
