#pragma once

#include "platform/UrlLoader.h"

#include <QStringList>
#include <QThread>

#include <functional>

// Keeps what an asynchronous transfer reports, in its order: "response 6", "data abc", "finished", "failed".
class RecordingConnection : public UrlConnectionDelegate
{
public:
    void connectionDidReceiveResponse(qint64 expectedContentLength) override
    {
        note(QStringLiteral("response %1").arg(expectedContentLength));
    }
    void connectionDidReceiveData(QByteArrayView data) override
    {
        note(QStringLiteral("data ") + QString::fromLatin1(data));
    }
    void connectionDidFailWithError(const QString &error) override
    {
        reason = error;
        end(QStringLiteral("failed"));
    }
    void connectionDidFinishLoading() override { end(QStringLiteral("finished")); }

    bool isOver() const { return !events.isEmpty() && (events.last() == u"failed" || events.last() == u"finished"); }

    QStringList events;
    QString reason; // of a failure
    QList<QThread *> threads; // of every callback
    std::function<void()> atTheEnd; // inside the ending callback

private:
    void note(const QString &event)
    {
        events.append(event);
        threads.append(QThread::currentThread());
    }
    void end(const QString &event)
    {
        note(event);
        if (atTheEnd)
            atTheEnd();
    }
};
