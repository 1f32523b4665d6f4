#include "app/AppDelegate.h"

#include "pack/ArchiveExtraction.h"
#include "pack/DownloadFile.h"
#include "pack/PrivilegedRun.h"
#include "pack/WayfarVersion.h"
#include "platform/Alert.h"
#include "platform/MainThread.h"
#include "platform/UserDefaults.h"
#include "settings/PreferenceKeys.h"
#include "settings/Utility.h"

using namespace Qt::StringLiterals;

void AppDelegate::updateVersionText()
{
    const MainThread::Wait wait;
    const WayfarVersion version(m_surroundings.defaults, m_surroundings.loader, m_surroundings.hosts);
    setCurrentVersion(version.localVersion());
    setUpdateVersion(version.updateVersion());
    if (updateVersion().has_value() && currentVersion() == updateVersion()) {
        setButtonText(u"Play"_s);
        setUpdateProgressbar(100);
    } else {
        setButtonText(u"Update"_s);
    }
}

void AppDelegate::downloadProgressUpdate(double percentage)
{
    setUpdateProgressbar(percentage);
}

void AppDelegate::downloadFinishedWithResult(bool result)
{
    setUpdateNotStarted(true);
    if (result) {
        setStatusStr(u"Installing..."_s);
        installNewVersion();
        updateVersionText();
        return;
    }
    m_surroundings.alert.runModal({u"Wayfer Installer failed to download Wayfar Pack update. Please retry and contact "
                                   "Wayfar support if problem persists."_s});
    setStatusStr(u"Update download failed. Please retry"_s);
}

void AppDelegate::installNewVersion()
{
    const MainThread::Wait wait;
    const auto supportFolder = Utility::WayfarInstallerFolder();
    const OptionalPath extractionFolder = pathIn(supportFolder, u"/installer");
    FileManager::makeTreeWritable(extractionFolder); // the last archive may have brought read-only folders
    (void)FileManager::removeItem(extractionFolder);
    (void)FileManager::createDirectory(extractionFolder, false);
    ArchiveExtraction::extract(DownloadFile::path(), extractionFolder);
    FileManager::makeTreeReadable(extractionFolder); // what can't be read would ask for an administrator

    const FilePath addOnFolder = toPath(gameFolder() + u"/_retail_/Interface/AddOns/"_s);
    if (!FileManager::fileExists(addOnFolder))
        (void)FileManager::createDirectory(addOnFolder, true); // each entry tries again, and escalates
    for (const FilePath &name : FileManager::contentsOfDirectory(extractionFolder))
        moveUpdateToInstallLocation(*extractionFolder / name, addOnFolder / name);
}

// The error slot keeps what stage 1 or 2 left when the copy succeeds, so that a refusal there leads to the last command
// too.
void AppDelegate::moveUpdateToInstallLocation(const FilePath &source, const FilePath &destination)
{
    FileError slot;
    const auto keepFailureOf = [&slot](const FileError &error) {
        if (error)
            slot = error;
    };

    if (FileManager::itemExists(destination)) { // a dangling link too, or it would never be replaced
        keepFailureOf(FileManager::removeItem(destination));
        if (slot.code == FileError::NoWritePermission
            && runPrivileged("rm -rf '%@' && cp -r '%@' '%@'", {destination, source, destination}))
            return;
    } else {
        const FilePath parent = destination.parent_path();
        keepFailureOf(FileManager::createDirectory(parent, true));
        if (slot.code == FileError::NoWritePermission
            && runPrivileged("mkdir -p '%@' && cp -r '%@' '%@'", {parent, source, destination}))
            return;
    }

    keepFailureOf(FileManager::copyItem(source, destination));
    if (slot.code == FileError::NoWritePermission && runPrivileged("cp -r '%@' '%@'", {source, destination}))
        return;
    setStatusStr(u"Update Installed."_s); // also over a failure, which the player has been told of: agreed
}

bool AppDelegate::runPrivileged(QByteArrayView command, const QList<FilePath> &paths)
{
    const bool done =
        PrivilegedRun::run(m_surroundings.scriptRunner, m_surroundings.alert, PrivilegedRun::script(command), paths,
                           u"Wayfar Installer failed to make changes. Reason %@"_s);
    setStatusStr(done ? u"Update Installed."_s : u"Installation Failed. Permission issue..."_s);
    return done;
}
