#pragma once

#include "places/VendorSite.h"

#include <QObject>
#include <QString>

#include <optional>

class LogWindow;
class UrlLoader;

// Shows the vendor's change log in a window of its own. Main thread. Destroying it closes the window.
class ChangeLog : public QObject
{
    Q_OBJECT

public:
    ChangeLog(UrlLoader &loader, const VendorSite &site);
    ~ChangeLog() override;

    LogWindow *window() const { return m_window; } // null before showLogs, and once it was closed
    std::optional<QString> text() const { return m_text; } // nothing until a fetch gave one

    // The window first, then the fetch, which blocks.
    void showLogs();
    void windowWillClose(const QObject *closing);

private:
    void loadWindow();
    void setText(const QString &text);

    UrlLoader &m_loader;
    const VendorSite m_site;
    LogWindow *m_window = nullptr; // it deletes itself when it closes
    std::optional<QString> m_text;
};
