#include "app/AppDelegate.h"

#include "controls/Waiting.h"
#include "platform/Alert.h"
#include "repair/Repair.h"

using namespace Qt::StringLiterals;

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
    std::optional<PrivilegedOutcome> luaFiles;
    Waiting::blockFor([&] { luaFiles = repair().removeLuaFiles(); });
    return showUnlessRepaired(luaFiles);
}

// Both halves in one wait, whose end runs events: nothing may come between them.
void AppDelegate::repairtInstallation()
{
    std::optional<PrivilegedOutcome> addOn;
    std::optional<PrivilegedOutcome> luaFiles;
    Waiting::blockFor([&] {
        addOn = repair().removeAddOn();
        if (!addOn)
            luaFiles = repair().removeLuaFiles();
    });
    if (addOn && addOn->done)
        return; // says nothing and refreshes nothing (docs/kept-on-purpose.md)
    if (addOn)
        showUnlessRepaired(addOn);
    else if (!showUnlessRepaired(luaFiles))
        return;
    else
        m_surroundings.alert.runModal(
            {.messageText = u"Wayfar Installer successfully repaired Installation."_s, .heading = u"Repair"_s});
    updateVersionText();
}

bool AppDelegate::showUnlessRepaired(const std::optional<PrivilegedOutcome> &outcome)
{
    if (!outcome || outcome->done)
        return true;
    showFailure(*outcome, u"Repair failed"_s, u"Wayfar Installer failed to repair Installation. Reason %@");
    return false;
}
