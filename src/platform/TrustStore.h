#pragma once

#include <QByteArrayList>

// The authorities that the system trusts. A libcurl that a bundle carries comes from one distribution, and looks for
// them where that one keeps them.
namespace TrustStore
{
// The first file of PEM that is there, libcurl's own place before all others; empty when there is none.
QByteArray firstOf(const QByteArray &own, const QByteArrayList &places);
// Of this system.
QByteArray file();
} // namespace TrustStore
