#pragma once

#include "demo/VendorServer.h"

// Cuts what a connection receives into whole requests.
class VendorRequestReader
{
public:
    void add(const QByteArray &received) { m_received += received; }
    std::optional<VendorRequest> next(); // nothing while a request is incomplete
    bool isMalformed() const { return m_malformed; } // no further request can be made out

private:
    std::optional<VendorRequest> refuse();

    QByteArray m_received;
    bool m_malformed = false;
};
