#pragma once

#include "platform/UrlLoader.h"

#include <curl/curl.h>

#include <chrono>
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

    enum class Drive {
        Performed, // silence ends the hop by itself
        EventLoop // whoever drives it watches patienceLeft
    };

    static CURL *newHandle();

    UrlExchange(CURL *handle, const UrlLoaderSettings &settings, const UrlRequest &request, Drive drive,
                Receiver receiver);
    ~UrlExchange();
    Q_DISABLE_COPY_MOVE(UrlExchange)

    // Reports the response as soon as its headers are complete, also while no data come.
    void reportResponse();
    [[nodiscard]] Outcome hopEnded(CURLcode code);
    QString error() const { return m_error; }
    // Until the exchange has been silent for too long. The silence begins with the exchange, connecting included, and
    // anew with every byte received.
    std::chrono::milliseconds patienceLeft() const;

private:
    static int beforeSending(void *self, char *, char *, int, int);
    static int whileWaiting(void *self, curl_off_t, curl_off_t, curl_off_t, curl_off_t);
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
    const Drive m_drive;
    const Receiver m_receiver;
    curl_slist *m_headers = nullptr;
    curl_slist *m_connectTo = nullptr;
    int m_redirects = 0;
    int m_sendings = 0; // of this hop
    std::chrono::steady_clock::time_point m_lastByte = std::chrono::steady_clock::now();
    bool m_headersComplete = false;
    bool m_responseReported = false;
    QString m_error;
};
