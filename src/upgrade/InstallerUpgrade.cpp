#include "upgrade/InstallerUpgrade.h"

#include "places/VersionNumbers.h"
#include "platform/SystemLog.h"
#include "platform/Text.h"

InstallerUpgrade::InstallerUpgrade(UrlLoader &loader, const VendorSite &site, const QString &installedVersion,
                                   const WindowMaker &makeWindow)
    : m_loader(loader), m_site(site), m_installedVersion(installedVersion), m_makeWindow(makeWindow)
{
}

bool InstallerUpgrade::updateAvailable(bool *error, std::optional<QString> *version)
{
    const UrlAnswer answer = m_loader.sendSynchronousRequest({.url = m_site.installerVersion()});
    const auto published = answer.body ? Text::fromAscii(*answer.body) : std::nullopt;
    if (!published || published->isEmpty()) {
        *error = true;
        return false;
    }
    SystemLog::write(Text::filled(u"App Version Check --- Internal: %@ Web: %@", {m_installedVersion, *published}));
    const std::string web = published->toStdString();
    const std::string own = m_installedVersion.toStdString();
    if (VersionNumbers::compare(VersionNumbers::shortened(web), VersionNumbers::shortened(own)) <= 0)
        return false;
    *error = false;
    *version = published;
    return true;
}

bool InstallerUpgrade::upgrade(bool *, const QString &version)
{
    m_loader.start({.url = m_site.installerArchive(version)}, shared_from_this());
    setupProgressWindow(version);
    m_file.remove(); // before the first callback, which comes from the event loop
    return true;
}

void InstallerUpgrade::setupProgressWindow(const QString &version)
{
    m_progressWindow = m_makeWindow();
    setDownloadText(Text::filled(u"Downloading version %@", {version}));
    setProgress(0);
    m_progressWindow->present();
}

void InstallerUpgrade::setDownloadText(const QString &text)
{
    m_downloadText = text;
    m_progressWindow->showText(text);
}

void InstallerUpgrade::setProgress(double percentage)
{
    m_progress = percentage;
    if (m_progressWindow) // there is one since the download was started
        m_progressWindow->showProgress(percentage);
}

void InstallerUpgrade::connectionDidReceiveResponse(qint64 expectedContentLength)
{
    m_file.begin(expectedContentLength);
}

void InstallerUpgrade::connectionDidReceiveData(QByteArrayView data)
{
    setProgress(m_file.append(data));
}

void InstallerUpgrade::connectionDidFailWithError(const QString &)
{
    if (m_delegate)
        m_delegate->InstallerUpgradeResult(false);
}

void InstallerUpgrade::connectionDidFinishLoading()
{
    if (m_delegate)
        m_delegate->InstallerUpgradeResult(true);
}
