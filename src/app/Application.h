#pragma once

#include "app/AppDelegate.h"
#include "controls/AlertWindow.h"
#include "places/VendorSite.h"
#include "platform/DesktopColors.h"
#include "platform/ScriptRunner.h"
#include "platform/SingleInstance.h"
#include "platform/UrlLoader.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"

// The whole program: its real delegate, windows and services. The product's main and the demo's differ in what they
// hand in here and in nothing else.
class Application : public QObject
{
    Q_OBJECT

public:
    // After QApplication is made.
    Application(const QString &version, const VendorSite &site, const UrlLoaderSettings &network = {});

    // Runs the program and returns its exit status. Where it runs already, that one comes to the front, and this
    // returns 0 at once.
    int exec();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    [[noreturn]] void exitAtOnce(int status);

    SingleInstance m_instance;
    DesktopColors m_desktopColors;
    UserDefaults m_defaults;
    UrlLoader m_loader;
    Workspace m_workspace;
    AlertWindow m_alert;
    ScriptRunner m_scriptRunner;
    AppDelegate m_delegate;
};
