#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <functional>

class MatchScreen;
class QTimer;
class Screens;
class StandardInput;

// Remote control of the running program for automation (`--control`): one command per
// line on standard input, answers and events on standard output, one line each. Commands
// act on the open match screen the way a player does (see ControlActions):
//
//   click CELL | button NAME | type TEXT | enter | chat TEXT (type, then Enter)
//   send ("Send") | restart ("Restart") | close ("Close") | shot FILE.png | state
//   move X Y | open host NAME | open join NAME (a match screen without the setup screen,
//   for a machine without a registry) | open practice LEVEL [O|X] (against the computer) | dismiss (the default button of the message box
//   shown) | quit (every screen closed as from its title bar)
//
// Answers: "ok <command>[ <detail>]", "error <command>: <why>", "state <one-line JSON>".
// "state" answers with or without a match screen: `screens` names the screens shown, `HO`
// the setup screen's host list while that screen is loaded.
// Commands are taken one per turn of the event loop, so that what one of them sends is on
// its way before the next one (a screenshot, say) runs.
// Events (ControlEvent) are written as they happen. Standard input at its end counts as
// quit, so a director that dies takes its players with it.
//
// Nothing of this exists unless the option asks for it.
class ControlChannel : public QObject
{
    Q_OBJECT
public:
    using Writer = std::function<void(const QByteArray &line)>;

    explicit ControlChannel(Screens &screens, QObject *parent = nullptr);
    ~ControlChannel() override;

    // Reads commands from standard input from now on; false where that cannot be watched.
    bool listenOnStandardInput();
    // Where answers and events go (standard output unless replaced).
    void setWriter(Writer writer) { m_writer = std::move(writer); }

    // One command line, answered through the writer.
    void handle(const QString &line);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void readInput(const QByteArray &bytes);
    void handleNext();
    void attach(MatchScreen *screen);
    void report(const QString &kind, const QString &payload);
    void write(const QString &line);
    MatchScreen *matchScreen() const;
    QStringList shownScreens() const;
    void dismissBox();
    QString act(const QString &command, const QString &argument, MatchScreen *screen);
    void quit();

    Screens &m_screens;
    Writer m_writer;
    StandardInput *m_input = nullptr;
    QByteArray m_pending;
    QStringList m_queue;
    QTimer *m_next;
    QList<QPointer<MatchScreen>> m_attached;
    bool m_quitting = false;
};
