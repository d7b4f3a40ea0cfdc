#pragma once

#include <QObject>
#include <QString>

#include <functional>

class QTimer;

// One speech bubble's typewriter: once started it shows one more character of its text
// every 50 ms, keeps the whole text for 2 s, then hides. The text is read afresh at each
// step, so a source that changes meanwhile (the incoming bubble follows `LastMsg`) is
// typed on from where the counter stands. The two timers are named after the screen's
// (`Timer1`/`Timer3` for the incoming bubble, `Timer2`/`Timer4` for the outgoing one).
class Typewriter : public QObject
{
    Q_OBJECT

public:
    static constexpr int TypeStep = 50;
    static constexpr int ShowWhole = 2000;

    Typewriter(const char *stepTimer, const char *holdTimer, std::function<QString()> source,
               QObject *parent = nullptr);

    // Counter back to 0 and typing from the first character; shows the bubble.
    void start();
    // The counter (`TM` / `TM2`): characters typed so far.
    int counter() const { return m_counter; }
    const QString &shown() const { return m_shown; }
    bool isShowing() const { return m_showing; }

    // One step: the next character. The last one stops typing and starts the hold.
    void step();
    // The hold is over: the bubble hides.
    void hide();

signals:
    void started();
    void typed(const QString &text);
    // Every character is out (before `typed` shows the last of them).
    void finished();
    void hidden();

private:
    std::function<QString()> m_source;
    QTimer *m_step;
    QTimer *m_hold;
    int m_counter = 0;
    QString m_shown;
    bool m_showing = false;
};
