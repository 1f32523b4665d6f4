#include "platform/UrlLoader.h"

#include "platform/UrlExchange.h"
#include "platform/UrlTransfer.h"

#include <QThread>

QString UrlLoader::libraryVersion()
{
    return QString::fromLatin1(curl_version_info(CURLVERSION_NOW)->version);
}

UrlLoader::UrlLoader(const UrlLoaderSettings &settings)
    : m_settings(settings), m_handle(UrlExchange::newHandle(), curl_easy_cleanup)
{
}

UrlLoader::~UrlLoader() = default;

UrlAnswer UrlLoader::sendSynchronousRequest(const UrlRequest &request)
{
    const QMutexLocker lock(&m_mutex);
    QByteArray body("", 0);
    const auto append = [&body](QByteArrayView data) {
        body.append(data);
        return body.size() <= MostInMemory;
    };
    UrlExchange exchange(m_handle.get(), m_settings, request, UrlExchange::Drive::Performed, {[](qint64) {}, append});
    UrlExchange::Outcome outcome = exchange.hopEnded(curl_easy_perform(m_handle.get()));
    while (outcome == UrlExchange::Outcome::Redirected)
        outcome = exchange.hopEnded(curl_easy_perform(m_handle.get()));
    if (outcome == UrlExchange::Outcome::Failed)
        return {std::nullopt, exchange.error()};
    return {body, {}};
}

void UrlLoader::start(const UrlRequest &request, const std::shared_ptr<UrlConnectionDelegate> &delegate)
{
    // The loader deletes the transfers of its own thread. A transfer of another thread deletes itself when it ends.
    QObject *parent = thread() == QThread::currentThread() ? this : nullptr;
    new UrlTransfer(m_settings, request, delegate, parent);
}
