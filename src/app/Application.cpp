#include "app/Application.h"

#include "controls/Theme.h"
#include "platform/Bundle.h"
#include "platform/FileManager.h"
#include "resources/Pictures.h"

#include <QApplication>
#include <QIcon>
#include <QTimer>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

Application::Application(const QString &version, const VendorSite &site, const UrlLoaderSettings &network)
    : m_loader(network),
      m_delegate({.site = site,
                  .defaults = m_defaults,
                  .loader = m_loader,
                  .workspace = m_workspace,
                  .alert = m_alert,
                  .scriptRunner = m_scriptRunner,
                  .terminate =
                      [this] {
                          m_instance.release(); // the player's next start does not wait for our end
                          QCoreApplication::quit();
                      },
                  .exit = [this](int status) { exitAtOnce(status); },
                  .bundlePath = toText(Bundle::running())})
{
    QCoreApplication::setApplicationName(u"wayfar-installer"_s);
    QCoreApplication::setApplicationVersion(version);
    QGuiApplication::setApplicationDisplayName(u"Wayfar Installer"_s);
    QGuiApplication::setDesktopFileName(QStringLiteral(WAYFAR_APPLICATION_ID));
    QGuiApplication::setWindowIcon(Pictures::icon());
    QGuiApplication::setQuitOnLastWindowClosed(false); // the splash closes before the main window shows
}

// Skips the destructors: another thread may still use what they destroy.
void Application::exitAtOnce(int status)
{
    m_defaults.forceToDisk();
    std::fflush(nullptr);
    std::_Exit(status);
}

int Application::exec()
{
    if (!m_instance.isFirst())
        return EXIT_SUCCESS;
    QObject::connect(&m_instance, &SingleInstance::anotherStarted, &m_delegate, &AppDelegate::bringToFront);
    QObject::connect(&m_desktopColors, &DesktopColors::darkPreferred, this, &Theme::setDarkPreferred);
    m_desktopColors.start();
    QTimer::singleShot(0, &m_delegate, &AppDelegate::applicationDidFinishLaunching);
    qApp->installEventFilter(this);
    const int status = QApplication::exec();
    if (m_delegate.isStarting()) // the start-up worker still runs: skip destructors it may need
        exitAtOnce(status);
    return status;
}

// The desktop session ends while we start. The worker may be waiting for the vendor or for this thread; and a question
// on the screen would be closed, which would count as its answer.
bool Application::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Quit && m_delegate.isStarting())
        exitAtOnce(EXIT_SUCCESS);
    return QObject::eventFilter(watched, event);
}
