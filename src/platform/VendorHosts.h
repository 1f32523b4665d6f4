#pragma once

#include <QString>

// The vendor's hosts.
struct VendorHosts {
    QString site; // in its form without "www."
    QString download; // of new installers

    QString www() const { return QStringLiteral("www.") + site; }
};
