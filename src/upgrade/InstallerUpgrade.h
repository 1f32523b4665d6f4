#pragma once

#include "pack/DownloadFile.h"
#include "platform/UrlLoader.h"
#include "platform/VendorHosts.h"
#include "upgrade/InstallerUpgradeDelegate.h"

#include <optional>

class InstallerDownloadWindow;

// Asks for the published installer version, from any thread, and downloads that installer into "download.zip" with a
// window of its own, on the main thread. One object a start.
class InstallerUpgrade : public UrlConnectionDelegate, public std::enable_shared_from_this<InstallerUpgrade>
{
public:
    InstallerUpgrade(UrlLoader &loader, const VendorHosts &hosts, const QString &installedVersion);
    ~InstallerUpgrade() override;

    // True when the published version is newer: then it is stored, as it came. Sets the error, and stores nothing, when
    // the vendor can't be reached or publishes nothing. Otherwise neither is touched. Blocks.
    bool updateAvailable(bool *error, std::optional<QString> *version);

    // Always true, at once; the flag is not looked at. The running transfer keeps this object alive.
    bool upgrade(bool *error, const QString &version);
    void setupProgressWindow(const QString &version);

    QString downloadText() const { return m_downloadText; }
    double progress() const { return m_progress; } // exactly as it was counted
    InstallerDownloadWindow *progressWindow() const { return m_progressWindow.get(); } // null before a download
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
    const VendorHosts m_hosts;
    const QString m_installedVersion;
    QString m_downloadText;
    double m_progress = 0;
    std::unique_ptr<InstallerDownloadWindow> m_progressWindow;
    InstallerUpgradeDelegate *m_delegate = nullptr;
    DownloadFile m_file;
};
