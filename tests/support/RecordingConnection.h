#pragma once

#include "platform/UrlLoader.h"

#include <QEventLoop>
#include <QStringList>
#include <QThread>
#include <QTimer>

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
        body.append(data);
        note(QStringLiteral("data ") + QString::fromLatin1(data));
    }
    void connectionDidFailWithError(const QString &error) override
    {
        reason = error;
        end(QStringLiteral("failed"));
    }
    void connectionDidFinishLoading() override { end(QStringLiteral("finished")); }

    bool isOver() const { return !events.isEmpty() && (events.last() == u"failed" || events.last() == u"finished"); }

    // In an event loop of its own: QTest's waiting sleeps between two looks. False after 20 seconds.
    bool waitForEnd()
    {
        QTimer::singleShot(20000, &m_waiting, &QEventLoop::quit);
        if (!isOver())
            m_waiting.exec();
        return isOver();
    }

    QStringList events;
    QByteArray body = ""; // of all pieces
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
        m_waiting.quit();
        if (atTheEnd)
            atTheEnd();
    }

    QEventLoop m_waiting;
};

// The answer to a transfer, as if it had been waited for.
inline UrlAnswer transferred(UrlLoader &loader, const UrlRequest &request)
{
    const auto connection = std::make_shared<RecordingConnection>();
    loader.start(request, connection);
    if (!connection->waitForEnd())
        return {std::nullopt, QStringLiteral("the transfer did not end")};
    const bool endedWell = connection->events.last() == u"finished";
    return {endedWell ? std::optional(connection->body) : std::nullopt, connection->reason};
}

// By both roads: waited for, and as a transfer. The vendor is asked twice.
inline QList<UrlAnswer> answersByBothRoads(UrlLoader &loader, const UrlRequest &request)
{
    return {loader.sendSynchronousRequest(request), transferred(loader, request)};
}
