#include "windows/ChangeLog.h"

#include "content/ChangeLogText.h"
#include "controls/Waiting.h"
#include "controls/WindowPlacement.h"
#include "windows/LogWindow.h"

#include <QPointer>

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
    // Events run before the fetch: another press may replace this controller meanwhile.
    const QPointer<ChangeLog> self(this);
    std::optional<QString> text;
    Waiting::blockFor([&text, &loader = m_loader, site = m_site] { text = ChangeLogText::fetch(loader, site); });
    if (self && text)
        setText(*text);
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
