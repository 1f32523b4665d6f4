#pragma once

#include "platform/UrlExchange.h"

#include <QHash>
#include <QSocketNotifier>
#include <QTimer>

// One asynchronous exchange on its thread's event loop: libcurl's sockets and its timer handed to Qt's. It deletes
// itself after the ending.
class UrlTransfer : public QObject
{
    Q_OBJECT

public:
    UrlTransfer(const UrlLoaderSettings &settings, const UrlRequest &request,
                const std::shared_ptr<UrlConnectionDelegate> &delegate, QObject *parent);
    ~UrlTransfer() override;

private:
    struct Watch {
        QSocketNotifier *read = nullptr;
        QSocketNotifier *write = nullptr;
    };

    static int watchSocket(CURL *, curl_socket_t socket, int what, void *self, void *);
    static int setTimer(CURLM *, long milliseconds, void *self);

    QSocketNotifier *notifier(curl_socket_t socket, QSocketNotifier::Type type, int event);
    void act(curl_socket_t socket, int events);
    void watchPatience();
    void hopEnded(CURLcode code);

    const std::shared_ptr<UrlConnectionDelegate> m_delegate;
    CURLM *const m_multi;
    CURL *const m_handle;
    std::unique_ptr<UrlExchange> m_exchange;
    QHash<curl_socket_t, Watch> m_watches;
    QTimer m_timer; // libcurl's
    QTimer m_patience;
    bool m_wasLate = false;
    bool m_isOver = false;
};
