#include "platform/UrlInspector.h"

#include "platform/UrlExchange.h"

#include <QLocale>
#include <QTimeZone>

#include <array>

using namespace Qt::StringLiterals;

namespace
{
using Words = std::array<char, CURL_ERROR_SIZE>; // libcurl's own, of the last failure

// As it stands in libcurl's description: "Nov  2 08:00:00 2026 GMT".
QDateTime dateOf(const QString &text)
{
    QDateTime date = QLocale::c().toDateTime(text.simplified(), u"MMM d hh:mm:ss yyyy 'GMT'"_s);
    date.setTimeZone(QTimeZone::utc());
    return date;
}

QDateTime certificateEndOf(CURL *handle)
{
    curl_certinfo *chain = nullptr;
    if (curl_easy_getinfo(handle, CURLINFO_CERTINFO, &chain) != CURLE_OK || chain->num_of_certs == 0)
        return {};
    const QByteArray label = "Expire date:";
    for (const curl_slist *line = chain->certinfo[0]; line; line = line->next) {
        const QByteArray text(line->data);
        if (text.startsWith(label))
            return dateOf(QString::fromLatin1(text.sliced(label.size())));
    }
    return {};
}

// Before the exchange goes on: a further hop forgets all of it.
void readHead(CURL *handle, UrlInspection &inspection)
{
    long number = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &number);
    inspection.status = static_cast<int>(number);
    curl_easy_getinfo(handle, CURLINFO_NUM_CONNECTS, &number);
    inspection.newConnections += static_cast<int>(number);
    inspection.headers.clear();
    curl_header *header = nullptr;
    while ((header = curl_easy_nextheader(handle, CURLH_HEADER, -1, header)))
        inspection.headers.emplaceBack(header->name, header->value);
    if (const QDateTime end = certificateEndOf(handle); end.isValid())
        inspection.certificateEnd = end;
    const char *target = nullptr;
    curl_easy_getinfo(handle, CURLINFO_REDIRECT_URL, &target);
    if (target)
        inspection.redirects.append({inspection.status, QString::fromUtf8(target)});
}

CURLcode perform(CURL *handle, Words &words, UrlInspection &inspection)
{
    curl_easy_setopt(handle, CURLOPT_CERTINFO, 1L);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, words.data());
    const CURLcode code = curl_easy_perform(handle);
    readHead(handle, inspection);
    return code;
}
} // namespace

QByteArray UrlInspection::header(const QByteArray &name) const
{
    for (const auto &[sent, value] : headers) {
        if (sent.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

UrlInspector::UrlInspector(const UrlLoaderSettings &settings)
    : m_settings(settings), m_handle(UrlExchange::newHandle(), curl_easy_cleanup)
{
}

UrlInspection UrlInspector::inspect(const UrlRequest &request, const Take &take, Redirects redirects)
{
    UrlInspection inspection;
    Words words = {};
    const auto response = [&](qint64 length) { inspection.announcedLength = length; };
    const auto data = [&](QByteArrayView piece) {
        inspection.size += piece.size();
        take(piece);
        return true;
    };
    UrlExchange exchange(m_handle.get(), m_settings, request, UrlExchange::Drive::Performed, {response, data});
    UrlExchange::Outcome outcome = exchange.hopEnded(perform(m_handle.get(), words, inspection));
    while (outcome == UrlExchange::Outcome::Redirected && redirects == Redirects::Followed)
        outcome = exchange.hopEnded(perform(m_handle.get(), words, inspection));
    if (outcome == UrlExchange::Outcome::Failed) {
        const QString detail = QString::fromUtf8(words.data());
        inspection.error = detail.isEmpty() ? exchange.error() : detail;
    }
    return inspection;
}
