#include "demo/VendorRequestLog.h"

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

QByteArray withoutQuery(const QByteArray &path)
{
    const qsizetype query = path.indexOf('?');
    return query < 0 ? path : path.left(query);
}

bool isPathOf(const VendorRequest &request, const QByteArray &path)
{
    return request.path == path || withoutQuery(request.path) == path;
}

void VendorRequestLog::add(const VendorRequest &request)
{
    {
        const std::lock_guard lock(m_mutex);
        m_requests.append(request);
    }
    m_added.notify_all();
}

void VendorRequestLog::clear()
{
    const std::lock_guard lock(m_mutex);
    m_requests.clear();
}

QList<VendorRequest> VendorRequestLog::all() const
{
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

QList<VendorRequest> VendorRequestLog::of(const QByteArray &path) const
{
    QList<VendorRequest> requests = all();
    requests.removeIf([&path](const VendorRequest &request) { return !isPathOf(request, path); });
    return requests;
}

bool VendorRequestLog::waitFor(const QByteArray &path, int count) const
{
    const auto isOfPath = [&path](const VendorRequest &request) { return isPathOf(request, path); };
    const auto isReached = [this, &isOfPath, count] {
        return std::count_if(m_requests.begin(), m_requests.end(), isOfPath) >= count;
    };
    std::unique_lock lock(m_mutex);
    return m_added.wait_for(lock, 10s, isReached);
}
