#include "windows/ChangeLog.h"

#include "content/ChangeLogText.h"
#include "controls/Waiting.h"
#include "controls/WindowPlacement.h"
#include "windows/LogWindow.h"

ChangeLog::ChangeLog(UrlLoader &loader, const VendorSite &site) : m_loader(loader), m_site(site) { }

ChangeLog::~ChangeLog()
{
    if (m_window)
        m_window->close();
}

void ChangeLog::showLogs()
{
    if (!m_window)
        loadWindow();
    WindowPlacement::center(*m_window);
    WindowPlacement::makeKeyAndOrderFront(*m_window);
    Waiting::blockFor([this] {
        if (const auto text = ChangeLogText::fetch(m_loader, m_site))
            setText(*text);
    });
}

void ChangeLog::loadWindow()
{
    auto *window = new LogWindow;
    connect(window, &LogWindow::closing, this, [this, window] { windowWillClose(window); });
    m_window = window;
    if (m_text)
        m_window->showText(*m_text);
}

void ChangeLog::setText(const QString &text)
{
    m_text = text;
    if (m_window)
        m_window->showText(text);
}

void ChangeLog::windowWillClose(const QObject *closing)
{
    if (closing == m_window)
        m_window = nullptr;
}
