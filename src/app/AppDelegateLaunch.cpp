#include "app/AppDelegate.h"

#include "controls/Waiting.h"
#include "places/Preferences.h"
#include "platform/Workspace.h"
#include "windows/SettingsWindow.h"

#include <QScopedValueRollback>

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
    if (m_opensLauncher) // five seconds are over while Play still waits for the desktop
        return;
    const QScopedValueRollback opening(m_opensLauncher, true);
    const QString launcher = Preferences::launchPath.in(m_surroundings.defaults);
    bool isOpen = false;
    if (!launcher.isEmpty())
        Waiting::blockFor([&] { isOpen = m_surroundings.workspace.openFile(launcher); });
    if (isOpen)
        m_surroundings.terminate();
    else
        setFailureStr(u"Failed to launch World of Warcraft Launcher. Please check settings..."_s);
}
