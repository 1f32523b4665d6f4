#pragma once

#include "app/Surroundings.h"
#include "controls/NavigationPolicy.h"
#include "pack/PrivilegedRun.h"
#include "pack/UpdateDownloadDelegate.h"
#include "platform/FileManager.h"
#include "upgrade/InstallerUpgradeDelegate.h"
#include "windows/ShownState.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QPointer>
#include <QString>

#include <memory>
#include <optional>

class AboutWindow;
class ChangeLog;
class CursorButtons;
class ImageView;
class InstallerUpgrade;
class MainWindow;
class Pane;
class QThread;
class Repair;
class SettingsWindow;
class SplashScreen;
class WayfarUpdateInstaller;

// The one controller: it tells what happens, in its order. The work is done by the subjects' classes, which return the
// outcome; the delegate sets what is shown. The shown state is for any thread, startInstaller and what it calls for the
// start-up worker, all else for the main thread.
class AppDelegate : public ShownState,
                    public UpdateDownloadDelegate,
                    public InstallerUpgradeDelegate,
                    public NavigationPolicy
{
    Q_OBJECT

public:
    explicit AppDelegate(const Surroundings &surroundings);
    ~AppDelegate() override; // waits for the start-up worker

    // Null before applicationDidFinishLaunching.
    MainWindow *window() const { return m_window.get(); }
    Pane *htmlView() const; // the account
    Pane *rssView() const; // the news
    ImageView *smallImage() const;
    ImageView *largeImage() const;
    CursorButtons *button1() const; // over the large banner
    CursorButtons *button2() const; // over the small one
    SplashScreen *splashWindow() const { return m_splashWindow.get(); } // null once it was closed
    SettingsWindow *settingsWindow() const; // null unless it is open
    ChangeLog *log() const { return m_log.get(); } // null before the first press
    QJsonObject settingsOldValue() const { return m_settingsOldValue; } // the preferences as openSettings found them

    InstallerUpgrade *upgrade() const { return load(m_upgrade).get(); } // null before the version check

    // The installer being upgraded to; nothing before the player said yes. Any thread.
    std::optional<QString> VersionValue() const { return load(m_VersionValue); }
    void setVersionValue(const std::optional<QString> &version) { store(m_VersionValue, version); }
    WayfarUpdateInstaller *updateInstaller() const { return m_updateInstaller.get(); } // null before the first download

    // Start-up.
    bool isStarting() const; // the worker still runs
    void applicationDidFinishLaunching();
    void startInstaller(); // the worker's body
    void downloadInstallerFiles();
    void closeSplashScreen();
    void bringToFront(); // whatever window is open, when the player starts the program once more

    // The installer's own upgrade.
    bool checkInstallerUpdate(); // the worker's first step; true when start-up must not go on
    void performUpgrade(const QString &version);
    void InstallerUpgradeResult(bool result) override;
    void installUpdate();
    bool movetoLocation(const FilePath &source, const FilePath &destination); // false after the process was ended

    // The main window's actions.
    void update(const QString &senderTitle);
    void getLogs();
    void bannerClick();
    void windowWillClose(const QObject *closing);
    bool webViewDecidePolicyForNavigationAction(const QUrl &url) override;

    // The pack.
    void updateVersionText();
    void downloadProgressUpdate(double percentage) override;
    void downloadFinishedWithResult(bool result) override;
    void installNewVersion();
    void moveUpdateToInstallLocation(const FilePath &source, const FilePath &destination);

    // The game.
    void launchWow();

    // The settings.
    void openSettings();
    void browser(const QObject *sender);
    void autoDetectPath();
    void okaySettings();
    void cancelSettings();

    // The help.
    void openVendorSite();
    void showAbout();

    // The repair.
    QList<FilePath> filesToRepair() const;
    bool removeLuaFiles(); // false only when it showed its failure
    void repairtInstallation();

    // The account.
    void reLogin();

private:
    void showSplashScreen();
    void showAgain();
    void makeMainWindow();
    void downloadBanners();
    void armAutomaticLaunch();
    void openLauncher();
    void startDownload();
    void showDownloadPace();
    void loadSettingsWindow();
    void storePath(const QString &key, const QString &path);
    void closeSettings();
    void loadAccountPage();
    void loadNewsPage();
    void showLoginOutcome();
    Repair repair() const;
    // Shows the failure of a change that an administrator was asked for: the message's "%@" is its reason.
    void showFailure(const PrivilegedOutcome &outcome, const QString &heading, QStringView message,
                     const QString &informativeText = {});
    void showIfFailed(const std::optional<PrivilegedOutcome> &outcome); // of an installation
    bool showUnlessRepaired(const std::optional<PrivilegedOutcome> &outcome); // true when repaired

    const Surroundings m_surroundings;

    std::optional<QString> m_VersionValue;
    std::unique_ptr<SplashScreen> m_splashWindow;
    std::unique_ptr<MainWindow> m_window;
    QPointer<SettingsWindow> m_settingsWindow; // the main window's child; it deletes itself when it closes
    QPointer<AboutWindow> m_aboutWindow; // likewise
    QJsonObject m_settingsOldValue;
    bool m_opensLauncher = false;
    std::unique_ptr<ChangeLog> m_log;
    std::shared_ptr<WayfarUpdateInstaller> m_updateInstaller; // the running transfer owns it too
    QElapsedTimer m_downloadTime;
    QElapsedTimer m_paceAge; // since it was shown; not valid before the first time
    std::shared_ptr<InstallerUpgrade> m_upgrade; // the running transfer owns it too
    std::unique_ptr<QThread> m_worker;
};
