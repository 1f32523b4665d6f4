#pragma once

#include "app/Surroundings.h"
#include "controls/Pane.h"
#include "pack/UpdateDownloadDelegate.h"
#include "platform/FileManager.h"
#include "upgrade/InstallerUpgradeDelegate.h"

#include <QJsonObject>
#include <QMutex>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

class ChangeLog;
class CursorButtons;
class ImageView;
class InstallerUpgrade;
class MainWindow;
class QThread;
class SettingsWindow;
class SplashScreen;
class WayfarUpdateInstaller;

// The one controller. What the window shows are its properties: each may be read and set in any thread, and is
// announced by a signal without a value, since a queued one could overtake a newer value; whoever hears it reads the
// property. Everything else is the main thread's, but for the start-up worker, which runs startInstaller.
class AppDelegate : public QObject,
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
    SettingsWindow *settingsWindow() const { return m_settingsWindow; } // null unless it is open
    ChangeLog *log() const { return m_log.get(); } // null before the first press
    QJsonObject settingsOldValue() const { return m_settingsOldValue; } // the preferences as openSettings found them

    InstallerUpgrade *upgrade() const { return m_upgrade.get(); } // null before the version check

    std::optional<QString> VersionValue() const { return load(m_VersionValue); } // the installer being upgraded to
    std::optional<QString> currentVersion() const { return load(m_currentVersion); }
    std::optional<QString> updateVersion() const { return load(m_updateVersion); } // nothing: it could not be had
    std::optional<QString> buttonText() const { return load(m_buttonText); }
    std::optional<QString> statusStr() const { return load(m_statusStr); }
    double updateProgressbar() const { return load(m_updateProgressbar); } // a percentage, exactly as it was counted
    bool updateNotStarted() const { return load(m_updateNotStarted); }
    void setVersionValue(const std::optional<QString> &version);
    void setCurrentVersion(const std::optional<QString> &version);
    void setUpdateVersion(const std::optional<QString> &version);
    void setButtonText(const std::optional<QString> &text);
    void setStatusStr(const std::optional<QString> &text);
    void setUpdateProgressbar(double percentage);
    void setUpdateNotStarted(bool notStarted);
    WayfarUpdateInstaller *updateInstaller() const { return m_updateInstaller.get(); } // null before the first download

    // Start-up.
    bool isStarting() const; // the worker still runs
    void applicationDidFinishLaunching();
    void startInstaller(); // the worker's body
    void downloadInstallerFiles();
    void closeSplashScreen();
    void bringToFront(); // whatever window is open, when the player starts the program once more

    // The installer's own upgrade.
    bool checkInstallerUpdate(); // the worker's first step; true when start-up is in other hands
    void performUpgrade(const QString &version);
    void InstallerUpgradeResult(bool result) override;
    void installUpdate();
    bool movetoLocation(const FilePath &source, const FilePath &destination); // false when the process is at its end

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

    // The repair.
    QList<FilePath> filesToRepair() const;
    bool removeLuaFiles(); // false only when it showed its failure
    void repairtInstallation();

    // The account.
    void reLogin();

Q_SIGNALS:
    void VersionValueChanged();
    void currentVersionChanged();
    void updateVersionChanged();
    void buttonTextChanged();
    void statusStrChanged();
    void updateProgressbarChanged();
    void updateNotStartedChanged();

private:
    template<typename T> T load(const T &property) const
    {
        const QMutexLocker lock(&m_stateLock);
        return property;
    }
    template<typename T> void store(T &property, const T &value, void (AppDelegate::*changed)())
    {
        {
            const QMutexLocker lock(&m_stateLock);
            property = value;
        }
        Q_EMIT(this->*changed)();
    }

    void showSplashScreen();
    QString gameFolder() const; // the stored one, or where it usually is
    void downloadBanners();
    void armAutomaticLaunch();
    void openLauncher();
    void startDownload();
    void loadSettingsWindow();
    void storePath(const QString &key, const QString &path);
    void closeSettings();
    bool removeAsAdministrator(const FilePath &addOnFolder);
    void loadAccountPage();
    void loadNewsPage();
    void showLoginOutcome();
    bool runPrivileged(QByteArrayView command, const QList<FilePath> &paths);

    const Surroundings m_surroundings;

    mutable QMutex m_stateLock; // over the properties
    std::optional<QString> m_VersionValue;
    std::optional<QString> m_currentVersion;
    std::optional<QString> m_updateVersion;
    std::optional<QString> m_buttonText;
    std::optional<QString> m_statusStr;
    double m_updateProgressbar = 0;
    bool m_updateNotStarted = false;

    std::unique_ptr<SplashScreen> m_splashWindow;
    std::unique_ptr<MainWindow> m_window;
    SettingsWindow *m_settingsWindow = nullptr; // the main window's child; it deletes itself when it closes
    QJsonObject m_settingsOldValue;
    std::unique_ptr<ChangeLog> m_log;
    std::shared_ptr<WayfarUpdateInstaller> m_updateInstaller; // its transfer holds it too
    std::shared_ptr<InstallerUpgrade> m_upgrade; // its transfer holds it too
    std::unique_ptr<QThread> m_worker;
};
