#pragma once

#include "platform/UrlLoader.h"

#include <QDateTime>

#include <functional>

struct UrlRedirect {
    int status;
    QString target;
};

// An exchange as UrlLoader makes it, with all that the program does not look at.
struct UrlInspection {
    QString error; // why there is no whole answer; empty where there is one
    int status = 0; // and the rest of the final answer's head
    QList<std::pair<QByteArray, QByteArray>> headers = {};
    qint64 announcedLength = -1; // none
    qint64 size = 0; // of the body, in bytes
    QList<UrlRedirect> redirects = {}; // in order
    int newConnections = 0;
    QDateTime certificateEnd = {}; // of the server; not valid where a kept connection was used

    QByteArray header(const QByteArray &name) const; // in any letter case; empty when it was not sent
};

// Asks as the program asks, and looks closer at what comes. Each call blocks.
class UrlInspector
{
public:
    using Take = std::function<void(QByteArrayView)>; // the next piece of the final answer's body
    enum class Redirects { Followed, LookedAt };

    explicit UrlInspector(const UrlLoaderSettings &settings = {});

    UrlInspection inspect(const UrlRequest &request, const Take &take, Redirects redirects = Redirects::Followed);

private:
    const UrlLoaderSettings m_settings;
    const std::unique_ptr<void, void (*)(void *)> m_handle; // its connections stay alive from one request to the next
};
