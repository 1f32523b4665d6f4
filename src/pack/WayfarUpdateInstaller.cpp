#include "pack/WayfarUpdateInstaller.h"

using namespace Qt::StringLiterals;

WayfarUpdateInstaller::WayfarUpdateInstaller(UserDefaults &defaults, UrlLoader &loader, const VendorHosts &hosts)
    : m_defaults(defaults), m_loader(loader), m_hosts(hosts)
{
}

void WayfarUpdateInstaller::downloadUpdate()
{
    const QString url = u"https://"_s + m_hosts.site + u"/api/dlGuide"_s;
    m_loader.start(FormEncoding::formRequest(url, FormEncoding::accountPairs(m_defaults)), shared_from_this());
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

void WayfarUpdateInstaller::connectionDidFinishLoading()
{
    if (m_delegate)
        m_delegate->downloadFinishedWithResult(true); // neither the length nor the content is looked at: agreed
}
