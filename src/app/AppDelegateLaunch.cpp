#include "app/AppDelegate.h"

#include "places/Preferences.h"
#include "platform/Workspace.h"

using namespace Qt::StringLiterals;

// Called once, five seconds after the start's network work. By then the player may have begun something else.
void AppDelegate::launchWow()
{
    if (buttonText() != u"Play"_s || m_updateInstaller || m_settingsWindow)
        return;
    if (Preferences::autoLaunch.in(m_surroundings.defaults))
        openLauncher();
}

void AppDelegate::openLauncher()
{
    const QString launcher = Preferences::launchPath.in(m_surroundings.defaults);
    if (!launcher.isEmpty() && m_surroundings.workspace.openFile(launcher))
        m_surroundings.terminate();
    else
        setStatusStr(u"Failed to launch World of Warcraft Launcher. Please check settings..."_s);
}
