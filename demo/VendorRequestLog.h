#pragma once

#include "demo/VendorServer.h"

#include <condition_variable>
#include <mutex>

// A path asked for, as tests name it: with its query or without.
bool isPathOf(const VendorRequest &request, const QByteArray &path);
QByteArray withoutQuery(const QByteArray &path);

// The requests received; usable from any thread.
class VendorRequestLog
{
public:
    void add(const VendorRequest &request);
    void clear();
    QList<VendorRequest> all() const;
    QList<VendorRequest> of(const QByteArray &path) const;
    bool waitFor(const QByteArray &path, int count) const;

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_added;
    QList<VendorRequest> m_requests;
};
