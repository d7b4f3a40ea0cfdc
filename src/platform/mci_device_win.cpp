#include "mci_device.h"

#include <QDir>
#include <QHash>

#include <atomic>

#include <windows.h>
#include <mmsystem.h>

// The end of a play comes as MM_MCINOTIFY to a window: one message-only window of our own,
// made on first use on the thread that plays (the UI thread, whose event loop dispatches
// its messages), tells the device whose play has ended.
struct MciNotifications
{
    static HWND window()
    {
        static HWND handle = [] {
            WNDCLASSW windowClass = {};
            windowClass.lpfnWndProc = &MciNotifications::procedure;
            windowClass.hInstance = GetModuleHandleW(nullptr);
            windowClass.lpszClassName = L"DorvalaMciNotifications";
            RegisterClassW(&windowClass);
            return CreateWindowExW(0, windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE,
                                   nullptr, windowClass.hInstance, nullptr);
        }();
        return handle;
    }

    static QHash<unsigned, MciDevice *> &playing()
    {
        static QHash<unsigned, MciDevice *> devices;
        return devices;
    }

    static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM flags, LPARAM id)
    {
        if (message != MM_MCINOTIFY)
            return DefWindowProcW(window, message, flags, id);
        // Superseded and aborted plays were cut short on purpose: only a real end counts.
        if (flags & (MCI_NOTIFY_SUCCESSFUL | MCI_NOTIFY_FAILURE)) {
            if (MciDevice *device = playing().take(unsigned(id))) {
                const std::function<void()> ended = std::move(device->m_ended);
                if (ended)
                    ended();  // last: it may delete the device
            }
        }
        return 0;
    }
};

MciDevice::~MciDevice()
{
    close();
}

unsigned MciDevice::send(const QString &command, QString *reply)
{
    wchar_t answer[128] = {};
    const MCIERROR error = mciSendStringW(reinterpret_cast<const wchar_t *>(command.utf16()),
                                          answer, 128, nullptr);
    if (reply)
        *reply = QString::fromWCharArray(answer);
    return unsigned(error);
}

bool MciDevice::open(const QString &path, const QString &type)
{
    close();
    static std::atomic<int> opened = 0;
    const QString alias = QStringLiteral("dorvala%1").arg(++opened);
    // Quoted: program folders often hold spaces. A Windows path cannot hold a quote.
    const QString command = QStringLiteral("open \"%1\" type %2 alias %3")
                                .arg(QDir::toNativeSeparators(path), type, alias);
    if (path.contains(u'"') || send(command) != 0)
        return false;
    m_alias = alias;
    m_id = mciGetDeviceIDW(reinterpret_cast<const wchar_t *>(alias.utf16()));
    return true;
}

void MciDevice::rewind()
{
    if (isOpen())
        send(QStringLiteral("seek %1 to start").arg(m_alias));
}

bool MciDevice::play(std::function<void()> ended)
{
    if (!isOpen())
        return false;
    MciNotifications::playing().remove(m_id);
    m_ended = std::move(ended);
    if (!m_ended)
        return send(QStringLiteral("play %1 from 0").arg(m_alias)) == 0;
    const QString command = QStringLiteral("play %1 from 0 notify").arg(m_alias);
    const MCIERROR error = mciSendStringW(reinterpret_cast<const wchar_t *>(command.utf16()),
                                          nullptr, 0, MciNotifications::window());
    if (error != 0) {
        m_ended = {};
        return false;
    }
    MciNotifications::playing().insert(m_id, this);
    return true;
}

void MciDevice::close()
{
    if (!isOpen())
        return;
    MciNotifications::playing().remove(m_id);
    m_ended = {};
    send(QStringLiteral("close %1").arg(m_alias));
    m_alias.clear();
    m_id = 0;
}

QString MciDevice::mode() const
{
    QString reply;
    if (!isOpen() || send(QStringLiteral("status %1 mode").arg(m_alias), &reply) != 0)
        return {};
    return reply;
}
