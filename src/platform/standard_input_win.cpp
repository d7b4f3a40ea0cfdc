#include "standard_input.h"

#include <QMetaObject>

#include <memory>
#include <mutex>
#include <thread>

#include <windows.h>

namespace {

// The thread blocks in ReadFile and cannot be woken for certain (a console read ignores
// cancellation on some systems), so it is never joined: it holds only what it shares with
// the reader, and reports to the reader only while that is alive.
struct Shared
{
    std::mutex mutex;
    StandardInput *target = nullptr;  // under mutex; cleared before the reader goes
};

template<typename Call>
void report(const std::shared_ptr<Shared> &shared, Call call)
{
    const std::lock_guard lock(shared->mutex);
    // A call still queued when the target goes is dropped with it.
    if (StandardInput *target = shared->target)
        QMetaObject::invokeMethod(target, [target, call] { call(target); }, Qt::QueuedConnection);
}

} // namespace

struct StandardInput::Reader
{
    std::shared_ptr<Shared> shared = std::make_shared<Shared>();
};

StandardInput::StandardInput(QObject *parent)
    : QObject(parent)
{
}

StandardInput::~StandardInput()
{
    if (m_reader) {
        const std::lock_guard lock(m_reader->shared->mutex);
        m_reader->shared->target = nullptr;
    }
    delete m_reader;
}

bool StandardInput::start()
{
    if (m_reader)
        return true;
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    if (input == nullptr || input == INVALID_HANDLE_VALUE)
        return false;
    m_reader = new Reader;
    m_reader->shared->target = this;
    std::thread([input, shared = m_reader->shared] {
        char buffer[4096];
        for (;;) {
            DWORD got = 0;
            // A pipe whose writer has gone answers ERROR_BROKEN_PIPE: the end, like 0 bytes.
            if (!ReadFile(input, buffer, sizeof buffer, &got, nullptr) || got == 0)
                break;
            const QByteArray bytes(buffer, int(got));
            report(shared, [bytes](StandardInput *target) { emit target->received(bytes); });
        }
        report(shared, [](StandardInput *target) { emit target->ended(); });
    }).detach();
    return true;
}
