#include "platform/UrlExchange.h"

#include "platform/TrustStore.h"

#include <QCoreApplication>
#include <QFile>
#include <QNetworkProxy>

#include <csignal>
#include <utility>

#include <fcntl.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
constexpr int MostRedirects = 16;
constexpr long MostIdleSeconds = 5; // of a kept connection: the server may have closed it since

// A program that we start must not inherit the connection.
int keepFromChildren(void *, curl_socket_t socket, curlsocktype)
{
    ::fcntl(socket, F_SETFD, FD_CLOEXEC);
    return CURL_SOCKOPT_OK;
}

QByteArray userAgent()
{
    return "WayfarInstaller/" + QCoreApplication::applicationVersion().toUtf8();
}

long statusOf(CURL *handle)
{
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    return status;
}
} // namespace

CURL *UrlExchange::newHandle()
{
    ::signal(SIGPIPE, SIG_IGN); // a peer that goes away is an error to report, not the program's end
    static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);
    Q_UNUSED(ready)
    return curl_easy_init();
}

UrlExchange::UrlExchange(CURL *handle, const UrlLoaderSettings &settings, const UrlRequest &request, Drive drive,
                         Receiver receiver)
    : m_handle(handle), m_settings(settings), m_request(request), m_drive(drive), m_receiver(std::move(receiver))
{
    prepareHop();
}

UrlExchange::~UrlExchange()
{
    curl_easy_reset(m_handle); // it must not keep pointers into this object; live connections stay
    curl_slist_free_all(m_headers);
    curl_slist_free_all(m_connectTo);
}

void UrlExchange::prepareHop()
{
    curl_easy_reset(m_handle);
    m_headersComplete = false;
    m_sendings = 0;
    setPolicy();
    setProxy();
    setRequest();
}

void UrlExchange::setPolicy()
{
    curl_easy_setopt(m_handle, CURLOPT_PROTOCOLS_STR, "https");
    curl_easy_setopt(m_handle, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(m_handle, CURLOPT_SSL_VERIFYHOST, 2L);
    const QByteArray authorities =
        m_settings.caFile.isEmpty() ? TrustStore::file() : QFile::encodeName(m_settings.caFile);
    if (!authorities.isEmpty()) // without any, libcurl refuses every server
        curl_easy_setopt(m_handle, CURLOPT_CAINFO, authorities.constData());
    curl_easy_setopt(m_handle, CURLOPT_HTTPAUTH, CURLAUTH_NONE); // an address with a user name in it logs in nowhere
    curl_easy_setopt(m_handle, CURLOPT_NOSIGNAL, 1L);
    // libcurl's own limit on silence acts up to seven seconds late, and begins only after the connection.
    curl_easy_setopt(m_handle, CURLOPT_NOPROGRESS, m_drive == Drive::Performed ? 0L : 1L);
    curl_easy_setopt(m_handle, CURLOPT_XFERINFOFUNCTION, &UrlExchange::whileWaiting);
    curl_easy_setopt(m_handle, CURLOPT_XFERINFODATA, this);
    curl_easy_setopt(m_handle, CURLOPT_PREREQFUNCTION, &UrlExchange::beforeSending);
    curl_easy_setopt(m_handle, CURLOPT_PREREQDATA, this);
    curl_easy_setopt(m_handle, CURLOPT_MAXAGE_CONN, MostIdleSeconds);
    curl_easy_setopt(m_handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(m_handle, CURLOPT_QUICK_EXIT, 1L); // the program's end does not wait for a name server
    curl_easy_setopt(m_handle, CURLOPT_SOCKOPTFUNCTION, keepFromChildren);
    curl_easy_setopt(m_handle, CURLOPT_HEADERFUNCTION, &UrlExchange::receiveHeader);
    curl_easy_setopt(m_handle, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(m_handle, CURLOPT_WRITEFUNCTION, &UrlExchange::receiveData);
    curl_easy_setopt(m_handle, CURLOPT_WRITEDATA, this);
}

// The proxy environment variables are libcurl's own business; this asks the desktop.
void UrlExchange::setProxy()
{
    if (!m_settings.connectTo.isEmpty()) {
        curl_slist_free_all(std::exchange(m_connectTo, nullptr));
        for (const QByteArray &entry : m_settings.connectTo)
            m_connectTo = curl_slist_append(m_connectTo, entry.constData());
        curl_easy_setopt(m_handle, CURLOPT_CONNECT_TO, m_connectTo);
        curl_easy_setopt(m_handle, CURLOPT_PROXY, ""); // a proxy would resolve the names itself
        return;
    }
    const QNetworkProxyQuery query(QUrl(m_request.url));
    const QNetworkProxy proxy = QNetworkProxyFactory::systemProxyForQuery(query).value(0, QNetworkProxy::NoProxy);
    if (proxy.type() != QNetworkProxy::HttpProxy && proxy.type() != QNetworkProxy::Socks5Proxy)
        return;
    const QByteArray scheme = proxy.type() == QNetworkProxy::HttpProxy ? "http://" : "socks5h://";
    curl_easy_setopt(m_handle, CURLOPT_PROXY, (scheme + proxy.hostName().toUtf8()).constData());
    curl_easy_setopt(m_handle, CURLOPT_PROXYPORT, long(proxy.port()));
    if (!proxy.user().isEmpty()) {
        curl_easy_setopt(m_handle, CURLOPT_PROXYUSERNAME, proxy.user().toUtf8().constData());
        curl_easy_setopt(m_handle, CURLOPT_PROXYPASSWORD, proxy.password().toUtf8().constData());
    }
}

void UrlExchange::setRequest()
{
    curl_easy_setopt(m_handle, CURLOPT_URL, m_request.url.toUtf8().constData());
    curl_easy_setopt(m_handle, CURLOPT_USERAGENT, userAgent().constData());
    curl_slist_free_all(std::exchange(m_headers, nullptr));
    for (const auto &[name, value] : m_request.headers)
        m_headers = curl_slist_append(m_headers, (name + ": " + value).constData());
    if (m_request.method == "POST") {
        m_headers = curl_slist_append(m_headers, "Expect:"); // no waiting for a 100 Continue
        curl_easy_setopt(m_handle, CURLOPT_POST, 1L);
        // Never null, even for an empty form: libcurl would read the body from standard input.
        curl_easy_setopt(m_handle, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(m_request.body.size()));
        curl_easy_setopt(m_handle, CURLOPT_POSTFIELDS, m_request.body.isNull() ? "" : m_request.body.constData());
    }
    curl_easy_setopt(m_handle, CURLOPT_HTTPHEADER, m_headers);
}

// When a kept connection ends without an answer, libcurl would send the request once more. It may have arrived the
// first time, so nothing is ever sent twice.
int UrlExchange::beforeSending(void *self, char *, char *, int, int)
{
    auto *exchange = static_cast<UrlExchange *>(self);
    exchange->m_lastByte = std::chrono::steady_clock::now(); // of the handshake, which has just ended
    return exchange->m_sendings++ == 0 ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

// Called at every step, and about once a second while nothing happens.
int UrlExchange::whileWaiting(void *self, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    return static_cast<UrlExchange *>(self)->patienceLeft() > 0ms ? 0 : 1;
}

std::chrono::milliseconds UrlExchange::patienceLeft() const
{
    const auto silence = std::chrono::steady_clock::now() - m_lastByte;
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::seconds(m_settings.idleSeconds) - silence);
}

size_t UrlExchange::receiveHeader(char *bytes, size_t size, size_t count, void *self)
{
    auto *exchange = static_cast<UrlExchange *>(self);
    exchange->m_lastByte = std::chrono::steady_clock::now();
    const QByteArrayView line(bytes, qsizetype(size * count));
    // The blank line; that of an interim answer (RFC 9110, 15.2) announces nothing.
    if ((line == "\r\n" || line == "\n") && statusOf(exchange->m_handle) >= 200)
        exchange->m_headersComplete = true;
    return size * count;
}

size_t UrlExchange::receiveData(char *bytes, size_t size, size_t count, void *self)
{
    auto *exchange = static_cast<UrlExchange *>(self);
    exchange->m_lastByte = std::chrono::steady_clock::now();
    if (exchange->isFollowedRedirect())
        return size * count; // nobody reads the body of a redirect
    exchange->reportResponse();
    const bool goOn = exchange->m_receiver.data(QByteArrayView(bytes, qsizetype(size * count)));
    return goOn ? size * count : 0;
}

void UrlExchange::reportResponse()
{
    if (!m_headersComplete || m_responseReported || isFollowedRedirect())
        return;
    m_responseReported = true;
    curl_off_t length = -1;
    curl_easy_getinfo(m_handle, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    m_receiver.response(length);
}

bool UrlExchange::isFollowedRedirect() const
{
    const long status = statusOf(m_handle);
    curl_header *location = nullptr;
    return status >= 300 && status < 400
        && curl_easy_header(m_handle, "Location", 0, CURLH_HEADER, -1, &location) == CURLHE_OK
        && !QByteArray(location->value).trimmed().isEmpty(); // an empty one counts as none
}

UrlExchange::Outcome UrlExchange::hopEnded(CURLcode code)
{
    reportResponse();
    if (code != CURLE_OK && patienceLeft() <= 0ms)
        return fail(QString::fromUtf8(curl_easy_strerror(CURLE_OPERATION_TIMEDOUT)));
    if (code != CURLE_OK)
        return fail(QString::fromUtf8(curl_easy_strerror(code)));
    if (!m_headersComplete) // libcurl takes half a head for an answer
        return fail(u"the connection ended within the answer's head"_s);
    const char *target = nullptr;
    curl_easy_getinfo(m_handle, CURLINFO_REDIRECT_URL, &target);
    return isFollowedRedirect() && target ? follow(QString::fromUtf8(target)) : Outcome::Finished;
}

UrlExchange::Outcome UrlExchange::follow(const QString &target)
{
    if (++m_redirects > MostRedirects)
        return fail(u"too many redirects"_s);
    const long status = statusOf(m_handle);
    if (m_request.method == "POST" && status >= 301 && status <= 303)
        m_request = {.url = target}; // a plain GET: the form and its headers stay behind
    else if (m_request.method == "POST" && QUrl(target).host() != QUrl(m_request.url).host())
        return fail(u"a form is not posted to another host"_s);
    m_request.url = target;
    prepareHop();
    return Outcome::Redirected;
}

UrlExchange::Outcome UrlExchange::fail(const QString &reason)
{
    m_error = reason;
    return Outcome::Failed;
}
