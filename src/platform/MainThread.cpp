#include "platform/MainThread.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

namespace
{
QCoreApplication *application()
{
    return QCoreApplication::instance();
}
} // namespace

bool MainThread::isCurrent()
{
    return application() && application()->thread() == QThread::currentThread();
}

void MainThread::performAndWait(const std::function<void()> &work)
{
    if (isCurrent())
        work();
    else
        QMetaObject::invokeMethod(application(), work, Qt::BlockingQueuedConnection);
}

void MainThread::performAfter(std::chrono::milliseconds delay, QObject *context, const std::function<void()> &work)
{
    // A timer belongs to the thread that starts it, and the caller's may be gone before it fires.
    QMetaObject::invokeMethod(context, [=] { QTimer::singleShot(delay, Qt::PreciseTimer, context, work); });
}
