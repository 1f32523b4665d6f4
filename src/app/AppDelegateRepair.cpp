#include "app/AppDelegate.h"

#include "controls/Waiting.h"
#include "platform/Alert.h"
#include "repair/Repair.h"

using namespace Qt::StringLiterals;

namespace
{
constexpr QStringView failure = u"Wayfar Installer failed to repair Installation. Reason %@";
}

Repair AppDelegate::repair() const
{
    return Repair(m_surroundings.defaults, m_surroundings.scriptRunner);
}

QList<FilePath> AppDelegate::filesToRepair() const
{
    return repair().filesToRepair();
}

bool AppDelegate::removeLuaFiles()
{
    std::optional<PrivilegedOutcome> byAdministrator;
    Waiting::blockFor([&] { byAdministrator = repair().removeLuaFiles(); });
    if (!byAdministrator || byAdministrator->done)
        return true;
    showFailure(*byAdministrator, failure);
    return false;
}

void AppDelegate::repairtInstallation()
{
    std::optional<PrivilegedOutcome> byAdministrator;
    Waiting::blockFor([&] { byAdministrator = repair().removeAddOn(); });
    if (byAdministrator) {
        if (byAdministrator->done)
            return; // says nothing and refreshes nothing (docs/kept-on-purpose.md)
        showFailure(*byAdministrator, failure);
        updateVersionText();
        return;
    }
    if (!removeLuaFiles())
        return;
    m_surroundings.alert.runModal({u"Wayfar Installer successfully repaired Installation."_s});
    updateVersionText();
}
