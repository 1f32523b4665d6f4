#pragma once

#include "pack/DownloadFile.h"
#include "pack/FormEncoding.h"
#include "pack/UpdateDownloadDelegate.h"
#include "places/VendorSite.h"
#include "platform/UrlLoader.h"

class UserDefaults;

// One download of the guide pack into "download.zip", by one POST of the stored account. A new one for every press.
class WayfarUpdateInstaller : public UrlConnectionDelegate, public std::enable_shared_from_this<WayfarUpdateInstaller>
{
public:
    WayfarUpdateInstaller(UserDefaults &defaults, UrlLoader &loader, const VendorSite &site);

    qint64 totalSize() const { return m_file.totalSize(); }
    qint64 totalDownloaded() const { return m_file.totalDownloaded(); }
    UpdateDownloadDelegate *delegate() const { return m_delegate; }
    void setDelegate(UpdateDownloadDelegate *delegate) { m_delegate = delegate; } // borrowed; it outlives us

    static QByteArray encodeDictionary(const FormPairs &pairs) { return FormEncoding::encodeDictionary(pairs); }
    static QString urlencode(const QString &text) { return FormEncoding::urlencode(text); } // the forms do not use it

    // Returns at once; the running transfer keeps this object alive.
    void downloadUpdate();

    void connectionDidReceiveResponse(qint64 expectedContentLength) override;
    void connectionDidReceiveData(QByteArrayView data) override;
    void connectionDidFailWithError(const QString &error) override;
    void connectionDidFinishLoading() override;

private:
    UserDefaults &m_defaults;
    UrlLoader &m_loader;
    const VendorSite m_site;
    UpdateDownloadDelegate *m_delegate = nullptr;
    DownloadFile m_file;
};
