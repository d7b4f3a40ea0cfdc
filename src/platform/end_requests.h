#pragma once

#include <QObject>

// Requests from outside to end the program the way a player's closing of every screen
// would: SIGINT and SIGTERM on POSIX systems; on Windows Ctrl+C, Ctrl+Break, closing the
// console, logging off and shutting down. requested() comes for each, on the thread that
// made this object, through its event loop.
//
// On Windows the system ends a process soon after it has reported the closing of its
// console, a log-off or a shutdown. For a console event the report is held back here until
// this object is destroyed (or at most 4.5 s), so that the program can finish its closing
// work first: destroy it last. A windowed program asked whether the session may end answers
// "not yet" (with a reason the system shows) and closes; the system goes on with the
// log-off or shutdown once the program has ended.
class EndRequests : public QObject
{
    Q_OBJECT

public:
    explicit EndRequests(QObject *parent = nullptr);
    ~EndRequests() override;

    // Starts watching; false when the system refused. One watcher per process.
    bool watch();

signals:
    void requested();

private:
    struct Native;
    Native *m_native = nullptr;
};
