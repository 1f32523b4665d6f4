#include "app/AppDelegate.h"

#include "platform/UserDefaults.h"
#include "platform/Workspace.h"
#include "settings/PreferenceKeys.h"

using namespace Qt::StringLiterals;

// Sent once a run, five seconds after the start's network work: the player may have begun something else by then.
void AppDelegate::launchWow()
{
    if (buttonText() != u"Play"_s || m_updateInstaller || m_settingsWindow)
        return;
    if (m_surroundings.defaults.boolForKey(PreferenceKeys::autoLaunch))
        openLauncher();
}

void AppDelegate::openLauncher()
{
    const auto launcher = m_surroundings.defaults.stringForKey(PreferenceKeys::launchPath);
    if (launcher && !launcher->isEmpty() && m_surroundings.workspace.openFile(*launcher))
        m_surroundings.terminate();
    else
        setStatusStr(u"Failed to launch World of Warcraft Launcher. Please check settings..."_s);
}
