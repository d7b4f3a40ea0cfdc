#pragma once

#include <QByteArray>
#include <QObject>

// The program's standard input, read as it comes without ever blocking the event loop: on
// POSIX systems through a notifier on the descriptor, on Windows through a reader thread (the
// event loop cannot watch a console or pipe handle there). received() brings the bytes in
// order on the thread that called start(); ended() comes once at the end of input or on a
// read error.
class StandardInput : public QObject
{
    Q_OBJECT

public:
    explicit StandardInput(QObject *parent = nullptr);
    ~StandardInput() override;

    // false when standard input cannot be read here.
    bool start();

signals:
    void received(const QByteArray &bytes);
    void ended();

private:
    struct Reader;
    Reader *m_reader = nullptr;
};
