#pragma once

#include <QObject>

#include <functional>
#include <memory>

class QThread;
class UpnpGateway;

// Runs UPnP calls, which block, one after the other on a thread of their own, and reports
// each one's end back on the thread that asked. A call still blocking when the worker goes
// (a router that answers slowly) is left to end on its own; its report is dropped.
class UpnpWorker : public QObject
{
    Q_OBJECT
public:
    explicit UpnpWorker(QObject *parent = nullptr);
    ~UpnpWorker() override;

    // `job` runs on the worker's thread with its gateway; `done` afterwards, here.
    void run(std::function<void(UpnpGateway &)> job, std::function<void()> done);
    bool busy() const { return m_running > 0; }

private:
    QThread *m_thread;
    QObject *m_context;
    std::shared_ptr<UpnpGateway> m_gateway;
    int m_running = 0;
};
