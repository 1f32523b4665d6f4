#include "platform/TrustStore.h"

#include <QFile>

#include <algorithm>

#include <curl/curl.h>

QByteArray TrustStore::firstOf(const QByteArray &own, const QByteArrayList &places)
{
    const QByteArrayList all = QByteArrayList{own} + places;
    const auto first =
        std::ranges::find_if(all, [](const QByteArray &place) { return QFile::exists(QFile::decodeName(place)); });
    return first == all.end() ? QByteArray() : *first;
}

QByteArray TrustStore::file()
{
    return firstOf(curl_version_info(CURLVERSION_NOW)->cainfo,
                   {
                       "/etc/ssl/certs/ca-certificates.crt", // Debian, Arch
                       "/etc/pki/ca-trust/extracted/pem/tls-ca-bundle.pem", // Fedora
                       "/etc/pki/tls/certs/ca-bundle.crt", // older ones of its family
                       "/etc/ssl/ca-bundle.pem", // openSUSE
                       "/etc/ssl/cert.pem", // Alpine, Void
                   });
}
