#include "app/AppDelegate.h"

#include "account/UserLogin.h"
#include "content/InstallerImages.h"
#include "content/RSSFeed.h"
#include "controls/CursorButtons.h"
#include "controls/ImageView.h"
#include "controls/Pane.h"
#include "controls/Waiting.h"
#include "controls/WindowPlacement.h"
#include "pack/WayfarUpdateInstaller.h"
#include "places/SupportFolder.h"
#include "platform/MainThread.h"
#include "platform/Workspace.h"
#include "upgrade/InstallerUpgrade.h"
#include "windows/AboutWindow.h"
#include "windows/ChangeLog.h"
#include "windows/MainWindow.h"
#include "windows/SettingsWindow.h"
#include "windows/SplashScreen.h"

#include <QApplication>
#include <QThread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

AppDelegate::AppDelegate(const Surroundings &surroundings) : m_surroundings(surroundings)
{
    UserLogin::loginUser().use(surroundings.defaults, surroundings.loader, surroundings.site);
}

AppDelegate::~AppDelegate()
{
    if (m_worker)
        m_worker->wait();
}

void AppDelegate::applicationDidFinishLaunching()
{
    showSplashScreen();
    makeMainWindow(); // while the splash shows, since the web views take their time
    htmlView()->setPolicyDelegate(this);
    rssView()->setPolicyDelegate(this);
    setUpdateNotStarted(true);
    button1()->setCursor(QCursor(Qt::PointingHandCursor));
    button2()->setCursor(QCursor(Qt::PointingHandCursor));
    m_worker.reset(QThread::create([this] { startInstaller(); }));
    m_worker->start();
}

void AppDelegate::makeMainWindow()
{
    m_window = std::make_unique<MainWindow>(*this);
    const MainWindow *window = m_window.get();
    connect(window, &MainWindow::mainButtonPressed, this, &AppDelegate::update);
    connect(window, &MainWindow::bannerPressed, this, &AppDelegate::bannerClick);
    connect(window, &MainWindow::settingsWanted, this, &AppDelegate::openSettings);
    connect(window, &MainWindow::changeLogWanted, this, &AppDelegate::getLogs);
    connect(window, &MainWindow::siteWanted, this, &AppDelegate::openVendorSite);
    connect(window, &MainWindow::aboutWanted, this, &AppDelegate::showAbout);
    connect(window, &MainWindow::closing, this, [this, window] { windowWillClose(window); });
}

bool AppDelegate::isStarting() const
{
    return m_worker && m_worker->isRunning();
}

void AppDelegate::showSplashScreen()
{
    m_splashWindow = std::make_unique<SplashScreen>();
    WindowPlacement::center(*m_splashWindow);
    WindowPlacement::makeKeyAndOrderFront(*m_splashWindow);
    Waiting::untilShown(*m_splashWindow); // on the screen before the first request
}

void AppDelegate::startInstaller()
{
    if (!checkInstallerUpdate())
        downloadInstallerFiles();
}

void AppDelegate::downloadInstallerFiles()
{
    Waiting::blockFor([this] { // only after a declined upgrade is this the main thread
        RSSFeed(m_surroundings.loader, m_surroundings.site).parseRSSWithURL();
        UserLogin::loginUser().performLogin();
        downloadBanners();
        updateVersionText();
        armAutomaticLaunch();
    });
    MainThread::performAndWait([this] { closeSplashScreen(); });
    showLoginOutcome();
}

void AppDelegate::downloadBanners()
{
    const auto show = [](ImageView *view, const QImage &image) {
        QMetaObject::invokeMethod(view, [view, image] { view->setImage(image); });
    };
    show(largeImage(), InstallerImages::downloadLargeImage(m_surroundings.loader, m_surroundings.site));
    show(smallImage(), InstallerImages::downloadSmallImage(m_surroundings.loader, m_surroundings.site));
}

// On every start: launchWow decides when it is called. The seconds count from here, not from the main window.
void AppDelegate::armAutomaticLaunch()
{
    MainThread::performAfter(5s, this, [this] { launchWow(); });
}

void AppDelegate::closeSplashScreen()
{
    m_splashWindow.reset();
    loadAccountPage();
    loadNewsPage();
    WindowPlacement::center(*m_window);
    WindowPlacement::makeKeyAndOrderFront(*m_window);
}

void AppDelegate::bringToFront()
{
    bool isAnyShown = false;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        const bool passing = window->windowType() == Qt::Popup || window->windowType() == Qt::ToolTip;
        if (window->isVisible() && !passing) {
            WindowPlacement::makeKeyAndOrderFront(*window);
            isAnyShown = true;
        }
    }
    if (!isAnyShown)
        showAgain();
    if (QWidget *question = QApplication::activeModalWidget()) // nothing else can be used before it is answered
        WindowPlacement::makeKeyAndOrderFront(*question);
}

// The player may close the splash and the download's window, which stops nothing.
void AppDelegate::showAgain()
{
    if (upgrade() && upgrade()->progressWindow()) // the worker may be making it
        upgrade()->progressWindow()->present();
    else if (m_splashWindow)
        WindowPlacement::makeKeyAndOrderFront(*m_splashWindow);
}

void AppDelegate::loadNewsPage()
{
    if (const OptionalPath page = SupportFolder::newsPage())
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
        std::make_shared<WayfarUpdateInstaller>(m_surroundings.defaults, m_surroundings.loader, m_surroundings.site);
    setUpdateProgressbar(0);
    setUpdateNotStarted(false);
    m_updateInstaller->setDelegate(this);
    m_updateInstaller->downloadUpdate();
    m_downloadTime.start();
    m_paceAge.invalidate();
    setStatusStr(u"Downloading..."_s);
}

void AppDelegate::getLogs()
{
    m_log.reset(); // closes its window
    m_log = std::make_unique<ChangeLog>(m_surroundings.loader, m_surroundings.site);
    m_log->showLogs();
}

void AppDelegate::bannerClick()
{
    m_surroundings.workspace.openURL(QUrl(m_surroundings.site.bannerTarget()));
}

// Also called while the program quits and closes its windows; terminating twice is harmless.
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
