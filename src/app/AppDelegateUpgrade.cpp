#include "app/AppDelegate.h"

#include "app/SplashScreen.h"
#include "pack/ArchiveExtraction.h"
#include "pack/DownloadFile.h"
#include "pack/PrivilegedRun.h"
#include "platform/Alert.h"
#include "platform/Bundle.h"
#include "platform/MainThread.h"
#include "platform/Text.h"
#include "platform/Workspace.h"
#include "settings/Utility.h"
#include "upgrade/InstallerDownloadWindow.h"
#include "upgrade/InstallerUpgrade.h"
#include "upgrade/NewBundle.h"

using namespace Qt::StringLiterals;

bool AppDelegate::checkInstallerUpdate()
{
    m_upgrade = std::make_shared<InstallerUpgrade>(m_surroundings.loader, m_surroundings.hosts, Bundle::version());
    bool unreachable = false;
    std::optional<QString> version;
    const bool available = m_upgrade->updateAvailable(&unreachable, &version);
    if (unreachable) {
        // The bundle's name in it does not follow the version: agreed.
        m_surroundings.alert.runModal({Text::filled(
            u"Installer could not connect to %@ or connection is blocked by a security software. Check internet "
            "connection to website and whitelist WayfarRoutes_1.2.6.app file with your security software and try "
            "again.",
            {m_surroundings.hosts.www()})});
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
         .alternateButton = u"NO"_s});
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
    m_upgrade->progressWindow()->close();
    if (result) {
        installUpdate();
        return;
    }
    m_surroundings.alert.runModal({u"Wayfer Installer failed to download installer update. Installer will quit. Please "
                                   "retry and contact Wayfar support if problem persists."_s});
    m_surroundings.exit(1);
}

// The running bundle stays as it is: the new one is put beside it and started.
void AppDelegate::installUpdate()
{
    const OptionalPath unpackFolder = pathIn(Utility::WayfarInstallerFolder(), u"/update");
    const NewBundle bundle = NewBundle::of(VersionValue().value_or(QString()), unpackFolder, m_surroundings.bundlePath);
    {
        const MainThread::Wait wait;
        (void)FileManager::createDirectory(unpackFolder, false);
        FileManager::makeTreeWritable(unpackFolder); // an earlier archive may have brought read-only folders
        ArchiveExtraction::extract(DownloadFile::path(), unpackFolder);
        FileManager::makeTreeReadable(unpackFolder);
        FileManager::makeTreeWritable(unpackFolder); // a read-only folder can't be moved, not even by its owner
    }
    if (bundle.source && !movetoLocation(*bundle.source, *bundle.destination))
        return;
    if (bundle.destination)
        m_surroundings.workspace.launchApplication(toText(*bundle.destination));
    m_surroundings.terminate();
}

bool AppDelegate::movetoLocation(const FilePath &source, const FilePath &destination)
{
    const MainThread::Wait wait; // from one disk to another it is a copy
    if (FileManager::moveItem(source, destination).code != FileError::NoWritePermission)
        return true; // moved, or a failure that a password would not help
    if (PrivilegedRun::run(m_surroundings.scriptRunner, m_surroundings.alert, PrivilegedRun::script("cp -r '%@' '%@'"),
                           {source, destination}, u"Wayfar Installer failed to make changes. Reason %@"_s,
                           u"Application will quit now."_s))
        return true;
    m_surroundings.exit(1);
    return false;
}
