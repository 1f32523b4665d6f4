#include "app/Application.h"

#include "platform/Bundle.h"

#include <QApplication>
#include <QIcon>
#include <QTimer>

#include <unistd.h>

using namespace Qt::StringLiterals;

Application::Application(const VendorHosts &hosts, const UrlLoaderSettings &network)
    : m_loader(network),
      m_delegate({hosts, m_defaults, m_loader, m_workspace, m_alert, m_scriptRunner, [] { QCoreApplication::quit(); }})
{
    QCoreApplication::setApplicationName(u"wayfar-installer"_s);
    QCoreApplication::setApplicationVersion(Bundle::version());
    QGuiApplication::setApplicationDisplayName(u"Wayfar Installer"_s);
    QGuiApplication::setDesktopFileName(u"wayfar-installer"_s);
    QGuiApplication::setWindowIcon(Bundle::icon());
    QGuiApplication::setQuitOnLastWindowClosed(false); // the splash closes before the main window shows
}

int Application::exec()
{
    QTimer::singleShot(0, &m_delegate, &AppDelegate::applicationDidFinishLaunching);
    const int status = QApplication::exec();
    if (m_delegate.isStarting()) // the desktop ended us meanwhile: the worker may wait for the vendor, or for us
        ::_exit(status);
    return status;
}
