#pragma once

#include "demo/TestCertificates.h"

#include "places/VendorSite.h"
#include "platform/UrlLoader.h"

#include <QHash>
#include <QProcess>
#include <QTemporaryDir>

// The distribution's nginx with the site that packaging/vendor gives to a vendor, on a loopback port. The site is
// adapted as a vendor adapts it, and has nothing to serve at first.
class NginxSite
{
public:
    explicit NginxSite(const VendorSite &site, int certificateDays = 30);
    ~NginxSite();

    // A file below the root: "site/feed", "download/WayfarRoutes_1.3.0.zip".
    void publish(const QString &path, const QByteArray &bytes) const;
    void withdraw(const QString &path) const;
    // News, banners, change log and both versions "1.2.6": all that a start asks for but the forms.
    void publishEvening() const;
    // In the vendor's three files; what stands there must be there. It counts from the next start on.
    void change(const QByteArray &before, const QByteArray &after);
    void changeAndRestart(const QByteArray &before, const QByteArray &after);
    void passFormsTo(const QByteArray &address); // "http://127.0.0.1:8080" in the kit
    void answerFormsFromFiles();

    void start(); // serving when it returns; what an earlier start left is gone
    void stop();

    quint16 port() const { return m_port; }
    UrlLoaderSettings network() const; // leads to it under the site's real names

private:
    void adapt(const VendorSite &site);
    void writeServer() const;

    const QStringList m_names;
    const TestCertificates m_certificates;
    const quint16 m_port;
    QTemporaryDir m_folder;
    QHash<QString, QByteArray> m_files; // of the kit, adapted
    QProcess m_nginx;
};
