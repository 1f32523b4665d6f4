#include "pack/WayfarUpdateInstaller.h"

WayfarUpdateInstaller::WayfarUpdateInstaller(UserDefaults &defaults, UrlLoader &loader, const VendorSite &site)
    : m_defaults(defaults), m_loader(loader), m_site(site)
{
}

void WayfarUpdateInstaller::downloadUpdate()
{
    const UrlRequest request = FormEncoding::formRequest(m_site.packDownload(), FormEncoding::accountPairs(m_defaults));
    m_loader.start(request, shared_from_this());
    m_file.remove(); // before the first callback, which comes from the event loop
}

void WayfarUpdateInstaller::connectionDidReceiveResponse(qint64 expectedContentLength)
{
    m_file.begin(expectedContentLength);
}

void WayfarUpdateInstaller::connectionDidReceiveData(QByteArrayView data)
{
    const double percentage = m_file.append(data);
    if (m_delegate)
        m_delegate->downloadProgressUpdate(percentage);
}

void WayfarUpdateInstaller::connectionDidFailWithError(const QString &)
{
    if (m_delegate)
        m_delegate->downloadFinishedWithResult(false);
}

// Any complete answer is a success, an error page too: the installation then finds no archive.
void WayfarUpdateInstaller::connectionDidFinishLoading()
{
    if (m_delegate)
        m_delegate->downloadFinishedWithResult(true);
}
