#include "demo/VendorRequestReader.h"

#include <algorithm>

namespace
{

bool isNamed(const std::pair<QByteArray, QByteArray> &header, const QByteArray &name)
{
    return header.first.compare(name, Qt::CaseInsensitive) == 0;
}

bool readRequestLine(const QByteArray &line, VendorRequest &request)
{
    const QList<QByteArray> words = line.split(' ');
    if (words.size() != 3 || !words[1].startsWith('/') || !words[2].startsWith("HTTP/1.")) {
        return false;
    }
    request.method = words[0];
    request.path = words[1];
    return true;
}

bool readHeader(const QByteArray &line, VendorRequest &request)
{
    const qsizetype colon = line.indexOf(':');
    if (colon <= 0) {
        return false;
    }
    request.headers.append({line.left(colon), line.mid(colon + 1).trimmed()});
    return true;
}

// Lines end in CR LF; the empty line after the last header is not part of the head.
std::optional<VendorRequest> readHead(const QByteArray &head)
{
    VendorRequest request;
    bool good = true;
    bool first = true;
    for (const QByteArray &line : head.split('\n')) {
        const QByteArray bare = line.endsWith('\r') ? line.chopped(1) : line;
        good = good && (first ? readRequestLine(bare, request) : readHeader(bare, request));
        first = false;
    }
    request.host = request.header("Host").value_or(QByteArray());
    return good ? std::optional(request) : std::nullopt;
}

// Nothing when the length can't be made out; chunked requests are not understood.
std::optional<qsizetype> bodyLength(const VendorRequest &request)
{
    if (request.headerCount("Transfer-Encoding") > 0) {
        return std::nullopt;
    }
    bool isNumber = false;
    const qlonglong length = request.header("Content-Length").value_or("0").toLongLong(&isNumber);
    return isNumber && length >= 0 ? std::optional<qsizetype>(length) : std::nullopt;
}

} // namespace

std::optional<QByteArray> VendorRequest::header(const QByteArray &name) const
{
    const auto found =
        std::find_if(headers.begin(), headers.end(), [&name](const auto &header) { return isNamed(header, name); });
    return found == headers.end() ? std::nullopt : std::optional(found->second);
}

int VendorRequest::headerCount(const QByteArray &name) const
{
    return static_cast<int>(
        std::count_if(headers.begin(), headers.end(), [&name](const auto &header) { return isNamed(header, name); }));
}

std::optional<VendorRequest> VendorRequestReader::next()
{
    static const QByteArray endOfHead = "\r\n\r\n";
    const qsizetype headSize = m_received.indexOf(endOfHead);
    if (m_malformed || headSize < 0) {
        return std::nullopt;
    }
    std::optional<VendorRequest> request = readHead(m_received.left(headSize));
    const std::optional<qsizetype> length = request ? bodyLength(*request) : std::nullopt;
    if (!length) {
        return refuse();
    }
    const qsizetype bodyStart = headSize + endOfHead.size();
    if (m_received.size() - bodyStart < *length) {
        return std::nullopt;
    }
    request->body = m_received.mid(bodyStart, *length);
    m_received.remove(0, bodyStart + *length);
    return request;
}

std::optional<VendorRequest> VendorRequestReader::refuse()
{
    m_malformed = true;
    return std::nullopt;
}
