#include "app/AppDelegate.h"

#include "controls/WindowPlacement.h"
#include "platform/Workspace.h"
#include "windows/AboutWindow.h"
#include "windows/MainWindow.h"

void AppDelegate::openVendorSite()
{
    m_surroundings.workspace.openURL(QUrl(m_surroundings.site.homePage()));
}

void AppDelegate::showAbout()
{
    if (!m_aboutWindow)
        m_aboutWindow = new AboutWindow(m_surroundings.site, m_window.get());
    WindowPlacement::center(*m_aboutWindow);
    WindowPlacement::makeKeyAndOrderFront(*m_aboutWindow);
}
