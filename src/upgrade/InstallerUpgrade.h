#pragma once

#include "pack/DownloadFile.h"
#include "places/VendorSite.h"
#include "platform/UrlLoader.h"
#include "upgrade/InstallerUpgradeDelegate.h"
#include "upgrade/ProgressWindow.h"

#include <functional>
#include <memory>
#include <optional>

// Asks for the published installer version, from any thread, and downloads that installer into "download.zip" with a
// window of its own, on the main thread. One object a start.
class InstallerUpgrade : public UrlConnectionDelegate, public std::enable_shared_from_this<InstallerUpgrade>
{
public:
    using WindowMaker = std::function<std::unique_ptr<ProgressWindow>()>; // called once a download

    InstallerUpgrade(UrlLoader &loader, const VendorSite &site, const QString &installedVersion,
                     const WindowMaker &makeWindow);

    // True when the published version is newer: then it is stored, as it came. Sets the error, and stores nothing, when
    // the vendor can't be reached or publishes nothing. Otherwise neither is touched. Blocks.
    bool updateAvailable(bool *error, std::optional<QString> *version);

    // Always true, at once; the flag is not looked at. The running transfer keeps this object alive.
    bool upgrade(bool *error, const QString &version);
    void setupProgressWindow(const QString &version);

    QString downloadText() const { return m_downloadText; }
    double progress() const { return m_progress; } // exactly as it was counted
    ProgressWindow *progressWindow() const { return m_progressWindow.get(); } // null before a download
    qint64 totalSize() const { return m_file.totalSize(); }
    qint64 totalDownloaded() const { return m_file.totalDownloaded(); }
    void setDelegate(InstallerUpgradeDelegate *delegate) { m_delegate = delegate; } // borrowed; it outlives us

    void connectionDidReceiveResponse(qint64 expectedContentLength) override;
    void connectionDidReceiveData(QByteArrayView data) override;
    void connectionDidFailWithError(const QString &error) override;
    void connectionDidFinishLoading() override;

private:
    void setDownloadText(const QString &text);
    void setProgress(double percentage);

    UrlLoader &m_loader;
    const VendorSite m_site;
    const QString m_installedVersion;
    const WindowMaker m_makeWindow;
    QString m_downloadText;
    double m_progress = 0;
    std::unique_ptr<ProgressWindow> m_progressWindow;
    InstallerUpgradeDelegate *m_delegate = nullptr;
    DownloadFile m_file;
};
