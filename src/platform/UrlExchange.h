#pragma once

#include "platform/UrlLoader.h"

#include <curl/curl.h>

#include <functional>

// One request on a libcurl handle, through all its redirects: sets the handle up for each hop, judges how a hop ended,
// and passes on the final answer alone. The handle is borrowed.
class UrlExchange
{
public:
    struct Receiver {
        std::function<void(qint64)> response; // once, before the first data
        std::function<bool(QByteArrayView)> data; // false ends the exchange as a transport error
    };

    enum class Outcome {
        Finished,
        Failed, // error() says why
        Redirected // perform the handle once more
    };

    UrlExchange(CURL *handle, const UrlLoaderSettings &settings, const UrlRequest &request, Receiver receiver);
    ~UrlExchange();
    Q_DISABLE_COPY_MOVE(UrlExchange)

    // Reports the response as soon as its headers are complete, also while no data come.
    void reportResponse();
    [[nodiscard]] Outcome hopEnded(CURLcode code);
    QString error() const { return m_error; }

private:
    static size_t receiveHeader(char *bytes, size_t size, size_t count, void *self);
    static size_t receiveData(char *bytes, size_t size, size_t count, void *self);

    void prepareHop();
    void setPolicy();
    void setRequest();
    void setProxy();
    bool isFollowedRedirect() const;
    Outcome follow(const QString &target);
    Outcome fail(const QString &reason);

    CURL *const m_handle;
    const UrlLoaderSettings m_settings;
    UrlRequest m_request;
    const Receiver m_receiver;
    curl_slist *m_headers = nullptr;
    curl_slist *m_connectTo = nullptr;
    int m_redirects = 0;
    bool m_headersComplete = false;
    bool m_responseReported = false;
    QString m_error;
};
