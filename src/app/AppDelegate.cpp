#include "app/AppDelegate.h"

#include "account/UserLogin.h"
#include "app/MainWindow.h"
#include "app/SplashScreen.h"
#include "content/ChangeLog.h"
#include "content/InstallerImages.h"
#include "content/RSSFeed.h"
#include "controls/CursorButtons.h"
#include "controls/ImageView.h"
#include "pack/WayfarUpdateInstaller.h"
#include "platform/MainThread.h"
#include "platform/UserDefaults.h"
#include "platform/Windows.h"
#include "platform/Workspace.h"
#include "settings/PreferenceKeys.h"
#include "settings/SettingsWindow.h"
#include "settings/Utility.h"
#include "upgrade/InstallerDownloadWindow.h"
#include "upgrade/InstallerUpgrade.h"

#include <QApplication>
#include <QThread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

AppDelegate::AppDelegate(const Surroundings &surroundings) : m_surroundings(surroundings)
{
    UserLogin::loginUser().use(surroundings.defaults, surroundings.loader, surroundings.hosts);
}

AppDelegate::~AppDelegate()
{
    if (m_worker)
        m_worker->wait();
}

void AppDelegate::applicationDidFinishLaunching()
{
    showSplashScreen();
    m_window = std::make_unique<MainWindow>(*this); // the web views take their time: while the splash shows
    htmlView()->setPolicyDelegate(this);
    rssView()->setPolicyDelegate(this);
    setUpdateNotStarted(true);
    button1()->setCursor(QCursor(Qt::PointingHandCursor));
    button2()->setCursor(QCursor(Qt::PointingHandCursor));
    m_worker.reset(QThread::create([this] { startInstaller(); }));
    m_worker->start();
}

bool AppDelegate::isStarting() const
{
    return m_worker && m_worker->isRunning();
}

void AppDelegate::showSplashScreen()
{
    m_splashWindow = std::make_unique<SplashScreen>();
    Windows::center(*m_splashWindow);
    Windows::makeKeyAndOrderFront(*m_splashWindow);
    MainThread::waitUntilShown(*m_splashWindow); // on the screen before the first request
}

void AppDelegate::startInstaller()
{
    if (!checkInstallerUpdate())
        downloadInstallerFiles();
}

void AppDelegate::downloadInstallerFiles()
{
    {
        const MainThread::Wait wait; // on the main thread after a declined upgrade
        RSSFeed(m_surroundings.loader, m_surroundings.hosts).parseRSSWithURL();
        UserLogin::loginUser().performLogin();
        downloadBanners();
        updateVersionText();
        armAutomaticLaunch();
    }
    MainThread::performAndWait([this] { closeSplashScreen(); });
    showLoginOutcome();
}

void AppDelegate::downloadBanners()
{
    const auto show = [](ImageView *view, const QImage &image) {
        QMetaObject::invokeMethod(view, [view, image] { view->setImage(image); });
    };
    show(largeImage(), InstallerImages::downloadLargeImage(m_surroundings.loader, m_surroundings.hosts));
    show(smallImage(), InstallerImages::downloadSmallImage(m_surroundings.loader, m_surroundings.hosts));
}

// Always: launchWow decides when it comes to it. The seconds count from here, not from the main window's appearance.
void AppDelegate::armAutomaticLaunch()
{
    MainThread::performAfter(5s, this, [this] { launchWow(); });
}

void AppDelegate::closeSplashScreen()
{
    m_splashWindow.reset();
    loadAccountPage();
    loadNewsPage();
    Windows::center(*m_window);
    Windows::makeKeyAndOrderFront(*m_window);
}

void AppDelegate::bringToFront()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        const bool passing = window->windowType() == Qt::Popup || window->windowType() == Qt::ToolTip;
        if (window->isVisible() && !passing)
            Windows::makeKeyAndOrderFront(*window);
    }
    if (QWidget *question = QApplication::activeModalWidget()) // nothing else can be used before it is answered
        Windows::makeKeyAndOrderFront(*question);
}

void AppDelegate::loadNewsPage()
{
    if (const OptionalPath page = pathIn(Utility::WayfarInstallerFolder(), u"/rssfeed.html"))
        rssView()->loadFile(toText(*page));
}

void AppDelegate::update(const QString &senderTitle)
{
    if (senderTitle == u"Play"_s)
        openLauncher();
    else
        startDownload();
}

void AppDelegate::startDownload()
{
    m_updateInstaller.reset();
    m_updateInstaller =
        std::make_shared<WayfarUpdateInstaller>(m_surroundings.defaults, m_surroundings.loader, m_surroundings.hosts);
    setUpdateProgressbar(0);
    setUpdateNotStarted(false);
    m_updateInstaller->setDelegate(this);
    m_updateInstaller->downloadUpdate();
    setStatusStr(u"Downloading..."_s);
}

void AppDelegate::getLogs()
{
    m_log.reset(); // with its window
    m_log = std::make_unique<ChangeLog>(m_surroundings.loader, m_surroundings.hosts);
    m_log->showLogs();
}

void AppDelegate::bannerClick()
{
    m_surroundings.workspace.openURL(QUrl(u"https://"_s + m_surroundings.hosts.www() + u"/installer/redirect.php"_s));
}

void AppDelegate::windowWillClose(const QObject *closing)
{
    if (closing == m_settingsWindow)
        m_settingsWindow = nullptr;
    if (closing == m_window.get())
        m_surroundings.terminate();
}

// The panes show our own pages and stay on them: everything on the web opens in the player's browser.
bool AppDelegate::webViewDecidePolicyForNavigationAction(const QUrl &url)
{
    if (url.host().isEmpty())
        return true;
    m_surroundings.workspace.openURL(url);
    return false;
}

QString AppDelegate::gameFolder() const
{
    return m_surroundings.defaults.stringForKey(PreferenceKeys::installPath)
        .value_or(PreferenceKeys::defaultInstallPath);
}

Pane *AppDelegate::htmlView() const
{
    return m_window->htmlView();
}

Pane *AppDelegate::rssView() const
{
    return m_window->rssView();
}

ImageView *AppDelegate::smallImage() const
{
    return m_window->smallImage();
}

ImageView *AppDelegate::largeImage() const
{
    return m_window->largeImage();
}

CursorButtons *AppDelegate::button1() const
{
    return m_window->button1();
}

CursorButtons *AppDelegate::button2() const
{
    return m_window->button2();
}

void AppDelegate::setVersionValue(const std::optional<QString> &version)
{
    store(m_VersionValue, version, &AppDelegate::VersionValueChanged);
}

void AppDelegate::setCurrentVersion(const std::optional<QString> &version)
{
    store(m_currentVersion, version, &AppDelegate::currentVersionChanged);
}

void AppDelegate::setUpdateVersion(const std::optional<QString> &version)
{
    store(m_updateVersion, version, &AppDelegate::updateVersionChanged);
}

void AppDelegate::setButtonText(const std::optional<QString> &text)
{
    store(m_buttonText, text, &AppDelegate::buttonTextChanged);
}

void AppDelegate::setStatusStr(const std::optional<QString> &text)
{
    store(m_statusStr, text, &AppDelegate::statusStrChanged);
}

void AppDelegate::setUpdateProgressbar(double percentage)
{
    store(m_updateProgressbar, percentage, &AppDelegate::updateProgressbarChanged);
}

void AppDelegate::setUpdateNotStarted(bool notStarted)
{
    store(m_updateNotStarted, notStarted, &AppDelegate::updateNotStartedChanged);
}
