#include "standard_input.h"

#include <QSocketNotifier>

#include <cerrno>
#include <unistd.h>

struct StandardInput::Reader
{
    QSocketNotifier *notifier = nullptr;
};

StandardInput::StandardInput(QObject *parent)
    : QObject(parent)
{
}

StandardInput::~StandardInput()
{
    delete m_reader;
}

bool StandardInput::start()
{
    if (m_reader)
        return true;
    m_reader = new Reader;
    m_reader->notifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
    connect(m_reader->notifier, &QSocketNotifier::activated, this, [this] {
        char buffer[4096];
        const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (got < 0 && (errno == EINTR || errno == EAGAIN))
            return;
        if (got <= 0) {
            m_reader->notifier->setEnabled(false);
            emit ended();
            return;
        }
        emit received(QByteArray(buffer, got));
    });
    return true;
}
