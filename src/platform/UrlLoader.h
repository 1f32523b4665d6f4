#pragma once

#include <QByteArray>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>
#include <utility>

struct UrlRequest {
    QString url; // https. An address that libcurl refuses fails as a transport error
    QByteArray method = "GET";
    QList<std::pair<QByteArray, QByteArray>> headers = {}; // sent exactly so, after the loader's own
    QByteArray body = {}; // of a POST
};

// How to reach the network; all at their defaults in the product.
struct UrlLoaderSettings {
    QString caFile = {}; // PEM, instead of the system's authorities
    QList<QByteArray> connectTo = {}; // libcurl's CONNECT_TO entries: HOST:PORT:ADDRESS:PORT
    int idleSeconds = 60; // without a single byte. A transfer as a whole has no limit
};

struct UrlAnswer {
    // What the vendor answered, whatever its status; nothing after a transport error. A body of zero bytes is a value.
    std::optional<QByteArray> body;
    QString error; // why there is none
};

// What an asynchronous transfer reports, in this order: the response once, any number of pieces, exactly one ending.
class UrlConnectionDelegate
{
public:
    virtual ~UrlConnectionDelegate() = default;
    virtual void connectionDidReceiveResponse(qint64 expectedContentLength) = 0; // -1 when none was announced
    virtual void connectionDidReceiveData(QByteArrayView data) = 0;
    virtual void connectionDidFailWithError(const QString &error) = 0;
    virtual void connectionDidFinishLoading() = 0;
};

// Any completed exchange is an answer, whatever its status; a transport error is an error. No cookies, no cache, no
// authentication, no content encodings; TLS is always verified. Redirects stay on https and number at most 16; a POST
// goes on as a GET after 301, 302 and 303, and is posted again after others to the same host alone (RFC 9110, 15.4),
// since it carries a password. No request is sent twice. Each names the program and the application's version as its
// user agent, and otherwise carries what it was given and what HTTP wants (Host, Accept) alone.
class UrlLoader : public QObject
{
    Q_OBJECT

public:
    static constexpr qint64 MostInMemory = qint64(64) * 1024 * 1024; // a longer body is a transport error

    static QString libraryVersion(); // libcurl's, as it runs

    explicit UrlLoader(const UrlLoaderSettings &settings = {});
    ~UrlLoader() override; // ends the transfers of its own thread; their delegates hear nothing

    // Any thread. Blocks it, and runs no event loop in it.
    [[nodiscard]] UrlAnswer sendSynchronousRequest(const UrlRequest &request);
    // Starts at once; the callbacks come from the calling thread's event loop, after this has returned. The delegate is
    // kept alive until its ending was delivered.
    void start(const UrlRequest &request, const std::shared_ptr<UrlConnectionDelegate> &delegate);

private:
    const UrlLoaderSettings m_settings;
    QMutex m_mutex; // over the synchronous handle, whose connections stay alive from one request to the next
    const std::unique_ptr<void, void (*)(void *)> m_handle;
};
