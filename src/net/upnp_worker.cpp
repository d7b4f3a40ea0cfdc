#include "upnp_worker.h"

#include "net/upnp_gateway.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThread>

namespace {
// How long a worker's end waits for a call under way before leaving it behind.
constexpr int EndWaitMs = 200;
}

UpnpWorker::UpnpWorker(QObject *parent)
    : QObject(parent)
    , m_thread(new QThread)
    , m_context(new QObject)
    , m_gateway(std::make_shared<UpnpGateway>())
{
    m_context->moveToThread(m_thread);
    m_thread->start();
}

UpnpWorker::~UpnpWorker()
{
    QObject *context = m_context;
    QThread *thread = m_thread;
    // The context goes on its own thread; the thread ends after the calls queued before.
    QMetaObject::invokeMethod(context, [context, thread] {
        delete context;
        thread->quit();
    });
    if (thread->wait(EndWaitMs))
        delete thread;
    else
        connect(thread, &QThread::finished, thread, &QObject::deleteLater);
}

void UpnpWorker::run(std::function<void(UpnpGateway &)> job, std::function<void()> done)
{
    ++m_running;
    const QPointer<UpnpWorker> self(this);
    std::shared_ptr<UpnpGateway> gateway = m_gateway;
    QMetaObject::invokeMethod(m_context, [self, gateway, job = std::move(job), done = std::move(done)] {
        job(*gateway);
        // Back on the application's thread, where `self` is checked before anything is used.
        QMetaObject::invokeMethod(QCoreApplication::instance(), [self, done] {
            if (!self)
                return;
            --self->m_running;
            done();
        });
    });
}
