#include "content/ChangeLog.h"

#include "content/LogWindow.h"
#include "platform/MainThread.h"
#include "platform/Text.h"
#include "platform/UrlLoader.h"
#include "platform/Windows.h"

using namespace Qt::StringLiterals;

ChangeLog::ChangeLog(UrlLoader &loader, const VendorHosts &hosts) : m_loader(loader), m_hosts(hosts) { }

ChangeLog::~ChangeLog()
{
    if (m_window)
        m_window->close();
}

void ChangeLog::showLogs()
{
    if (!m_window)
        loadWindow();
    Windows::center(*m_window);
    Windows::makeKeyAndOrderFront(*m_window);

    const MainThread::Wait wait;
    const UrlAnswer answer =
        m_loader.sendSynchronousRequest({.url = u"https://"_s + m_hosts.site + u"/api/changelog"_s});
    if (const auto text = answer.body ? Text::fromAscii(*answer.body) : std::nullopt)
        setText(*text);
}

void ChangeLog::loadWindow()
{
    m_window = new LogWindow;
    connect(m_window, &LogWindow::closing, this, [this] { windowWillClose(m_window); });
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
