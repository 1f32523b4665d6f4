#include "app/AppDelegate.h"

#include "controls/Waiting.h"
#include "platform/Alert.h"
#include "platform/MainThread.h"
#include "platform/Text.h"
#include "platform/Workspace.h"
#include "upgrade/InstallerReplacement.h"
#include "upgrade/InstallerUpgrade.h"
#include "windows/InstallerDownloadWindow.h"
#include "windows/SplashScreen.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

bool AppDelegate::checkInstallerUpdate()
{
    store(m_upgrade,
          std::make_shared<InstallerUpgrade>(m_surroundings.loader, m_surroundings.site,
                                             QCoreApplication::applicationVersion(),
                                             [] { return std::make_unique<InstallerDownloadWindow>(); }));
    bool unreachable = false;
    std::optional<QString> version;
    const bool available = m_upgrade->updateAvailable(&unreachable, &version);
    if (unreachable) {
        // The bundle's name in it is fixed text (docs/kept-on-purpose.md).
        m_surroundings.alert.runModal(
            {.messageText = Text::filled(
                 u"Installer could not connect to %@ or connection is blocked by a security software. Check internet "
                 "connection to website and whitelist WayfarRoutes_1.2.6.app file with your security software and try "
                 "again.",
                 {m_surroundings.site.wwwHost()}),
             .heading = u"No connection"_s});
        m_surroundings.exit(1);
        return true;
    }
    if (available)
        MainThread::performAndWait([&] { performUpgrade(*version); });
    return available;
}

void AppDelegate::performUpgrade(const QString &version)
{
    const int answer = m_surroundings.alert.runModal(
        {.messageText = Text::filled(
             u"An updated version %@ of Wayfar Installer is available. Would you like to download?", {version}),
         .informativeText = u"NOTE: Upgrade to newest version is recommended"_s,
         .defaultButton = u"YES"_s,
         .alternateButton = u"NO"_s,
         .heading = u"New version"_s});
    if (answer != Alert::DefaultReturn) {
        downloadInstallerFiles();
        return;
    }
    setVersionValue(version);
    m_splashWindow.reset();
    m_upgrade->setDelegate(this);
    bool ignored = false;
    m_upgrade->upgrade(&ignored, version);
}

void AppDelegate::InstallerUpgradeResult(bool result)
{
    m_upgrade->progressWindow()->dismiss();
    if (result) {
        installUpdate();
        return;
    }
    m_surroundings.alert.runModal(
        {.messageText = u"Wayfer Installer failed to download installer update. Installer will quit. Please "
                        "retry and contact Wayfar support if problem persists."_s,
         .heading = u"Upgrade failed"_s});
    m_surroundings.exit(1);
}

// The running bundle stays as it is: the new one is put beside it and started.
void AppDelegate::installUpdate()
{
    NewBundle bundle;
    Waiting::blockFor(
        [&] { bundle = InstallerReplacement::unpack(VersionValue().value_or(QString()), m_surroundings.bundlePath); });
    if (bundle.source && !movetoLocation(*bundle.source, *bundle.destination))
        return;
    if (bundle.destination)
        m_surroundings.workspace.launchApplication(toText(*bundle.destination));
    m_surroundings.terminate();
}

bool AppDelegate::movetoLocation(const FilePath &source, const FilePath &destination)
{
    std::optional<PrivilegedOutcome> byAdministrator;
    Waiting::blockFor(
        [&] { byAdministrator = InstallerReplacement::move(source, destination, m_surroundings.scriptRunner); });
    if (!byAdministrator || byAdministrator->done)
        return true;
    showFailure(*byAdministrator, u"Upgrade failed"_s, u"Wayfar Installer failed to make changes. Reason %@",
                u"Application will quit now."_s);
    m_surroundings.exit(1);
    return false;
}
