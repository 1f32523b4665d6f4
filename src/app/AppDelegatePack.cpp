#include "app/AppDelegate.h"

#include "controls/Waiting.h"
#include "pack/PackEntry.h"
#include "pack/PackInstallation.h"
#include "pack/WayfarUpdateInstaller.h"
#include "pack/WayfarVersion.h"
#include "places/GameFolder.h"
#include "platform/Alert.h"
#include "platform/Text.h"

#include <algorithm>

using namespace Qt::StringLiterals;

void AppDelegate::updateVersionText()
{
    Waiting::blockFor([this] {
        const WayfarVersion version(m_surroundings.defaults, m_surroundings.loader, m_surroundings.site);
        setCurrentVersion(version.localVersion());
        setUpdateVersion(version.updateVersion());
        if (updateVersion().has_value() && currentVersion() == updateVersion()) {
            setButtonText(u"Play"_s);
            setUpdateProgressbar(100);
        } else {
            setButtonText(u"Update"_s);
        }
    });
}

void AppDelegate::downloadProgressUpdate(double percentage)
{
    setUpdateProgressbar(percentage);
    showDownloadPace();
}

// Some times a second: nobody could read the news of every piece.
void AppDelegate::showDownloadPace()
{
    if (!m_updateInstaller || (m_paceAge.isValid() && m_paceAge.elapsed() < 250))
        return;
    m_paceAge.start();
    setDownloadPace({.received = m_updateInstaller->totalDownloaded(),
                     .expected = m_updateInstaller->totalSize(),
                     .time = std::chrono::milliseconds(std::max<qint64>(m_downloadTime.elapsed(), 1))});
}

void AppDelegate::downloadFinishedWithResult(bool result)
{
    setUpdateNotStarted(true);
    setDownloadPace({});
    if (result) {
        setStatusStr(u"Installing..."_s);
        installNewVersion();
        updateVersionText();
        return;
    }
    m_surroundings.alert.runModal(
        {.messageText = u"Wayfer Installer failed to download Wayfar Pack update. Please retry and contact Wayfar "
                        "support if problem persists."_s,
         .heading = u"Update failed"_s});
    setFailureStr(u"Update download failed. Please retry"_s);
}

void AppDelegate::installNewVersion()
{
    Waiting::blockFor([this] {
        for (const auto &[source, destination] : PackInstallation::unpack(GameFolder::current(m_surroundings.defaults)))
            moveUpdateToInstallLocation(source, destination);
    });
}

// The last status is set also after a failure: the alert has told of it (docs/kept-on-purpose.md).
void AppDelegate::moveUpdateToInstallLocation(const FilePath &source, const FilePath &destination)
{
    PackEntry entry(source, destination, m_surroundings.scriptRunner);
    const auto madeRoom = entry.makeRoom();
    showIfFailed(madeRoom);
    if (!madeRoom || !madeRoom->done)
        showIfFailed(entry.copy());
    setStatusStr(u"Update Installed."_s);
}

void AppDelegate::showIfFailed(const std::optional<PrivilegedOutcome> &outcome)
{
    if (!outcome || outcome->done)
        return;
    showFailure(*outcome, u"Installation failed"_s, u"Wayfar Installer failed to make changes. Reason %@");
    setFailureStr(u"Installation Failed. Permission issue..."_s);
}

void AppDelegate::showFailure(const PrivilegedOutcome &outcome, const QString &heading, QStringView message,
                              const QString &informativeText)
{
    m_surroundings.alert.runModal({.messageText = Text::filled(message, {outcome.reason}),
                                   .informativeText = informativeText,
                                   .heading = heading});
}
