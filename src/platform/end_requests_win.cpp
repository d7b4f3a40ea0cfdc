#include "end_requests.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QMetaObject>

#include <mutex>

#include <windows.h>

namespace {

std::mutex g_mutex;
EndRequests *g_watcher = nullptr;  // under g_mutex
HANDLE g_released = nullptr;       // set when the watcher goes: the program has closed

void post()
{
    const std::lock_guard lock(g_mutex);
    if (g_watcher)
        QMetaObject::invokeMethod(g_watcher, &EndRequests::requested, Qt::QueuedConnection);
}

// Runs on a thread the system starts for the event.
BOOL WINAPI consoleHandler(DWORD event)
{
    post();
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT)
        return TRUE;  // handled: the program ends by itself once its screens have closed
    // Console closed, log-off or shutdown: the process ends when this returns, and the
    // system waits about 5 s for it. Hold on while the screens close and the registry
    // entry is withdrawn.
    WaitForSingleObject(g_released, 4500);
    return TRUE;
}

} // namespace

// A windowed program hears of log-off and shutdown as window messages, not as console
// events. Once the session has ended the process is ended at once, so the closing (and the
// registry's withdrawal, which needs the event loop) happens before: the program asks the
// system to wait, as Windows asks programs with work to finish to do, and then ends itself.
struct EndRequests::Native : QAbstractNativeEventFilter
{
    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override
    {
        if (type != "windows_generic_MSG")
            return false;
        const MSG *msg = static_cast<MSG *>(message);
        if (msg->message != WM_QUERYENDSESSION)
            return false;
        if (!asked) {
            asked = true;
            post();
        }
        ShutdownBlockReasonCreate(msg->hwnd, L"Dorvala Online menutup pertandingan...");
        *result = FALSE;
        return true;
    }

    bool asked = false;
};

EndRequests::EndRequests(QObject *parent)
    : QObject(parent)
{
}

EndRequests::~EndRequests()
{
    {
        const std::lock_guard lock(g_mutex);
        if (g_watcher != this)
            return;
        g_watcher = nullptr;
    }
    if (m_native && QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(m_native);
    delete m_native;
    SetEvent(g_released);
}

bool EndRequests::watch()
{
    {
        const std::lock_guard lock(g_mutex);
        if (g_watcher)
            return false;
        g_watcher = this;
    }
    if (!g_released)
        g_released = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    m_native = new Native;
    if (QCoreApplication::instance())
        QCoreApplication::instance()->installNativeEventFilter(m_native);
    return SetConsoleCtrlHandler(consoleHandler, TRUE) != 0;
}
