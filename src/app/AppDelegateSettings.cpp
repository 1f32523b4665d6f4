#include "app/AppDelegate.h"

#include "controls/WindowPlacement.h"
#include "places/GameFolder.h"
#include "places/Preferences.h"
#include "platform/Alert.h"
#include "platform/Text.h"
#include "windows/MainWindow.h"
#include "windows/OpenPanel.h"
#include "windows/SettingsWindow.h"

using namespace Qt::StringLiterals;

SettingsWindow *AppDelegate::settingsWindow() const
{
    return m_settingsWindow;
}

void AppDelegate::openSettings()
{
    if (!m_settingsWindow)
        loadSettingsWindow();
    WindowPlacement::center(*m_settingsWindow);
    WindowPlacement::makeKeyAndOrderFront(*m_settingsWindow);
    m_settingsOldValue = m_surroundings.defaults.dictionaryRepresentation(); // afresh, also when it was open already
}

void AppDelegate::loadSettingsWindow()
{
    auto *window = new SettingsWindow(m_surroundings.defaults, m_window.get());
    connect(window, &SettingsWindow::browsePressed, this, &AppDelegate::browser);
    connect(window, &SettingsWindow::detectPressed, this, &AppDelegate::autoDetectPath);
    connect(window, &SettingsWindow::repairPressed, this, &AppDelegate::repairtInstallation);
    connect(window, &SettingsWindow::okayPressed, this, &AppDelegate::okaySettings);
    connect(window, &SettingsWindow::cancelPressed, this, &AppDelegate::cancelSettings);
    connect(window, &SettingsWindow::closing, this, [this, window] { windowWillClose(window); });
    m_settingsWindow = window;
}

void AppDelegate::browser(const QObject *sender)
{
    const QString key = sender->property("buttonType").toString();
    if (key.isEmpty())
        return;
    UserDefaults &defaults = m_surroundings.defaults;
    const auto choice = key == Preferences::installPath.key ? OpenPanel::Folders : OpenPanel::Files;
    // A watched pointer: the program's end may delete the settings window, and the panel with it, while it is open.
    const QPointer<OpenPanel> panel(
        new OpenPanel(choice, defaults.stringForKey(key).value_or(QString()), m_settingsWindow));
    if (panel->exec() == QDialog::Accepted && panel && !panel->chosen().isEmpty())
        storePath(key, panel->chosen());
    delete panel;
}

void AppDelegate::autoDetectPath()
{
    const GameFolder game(GameFolder::usualRoot.toString());
    const QString missing = game.missing();
    if (!missing.isEmpty()) {
        m_surroundings.alert.runModal(
            {.messageText = Text::filled(u"%@ does not exist. Please verify you installation", {missing}),
             .heading = u"Game not found"_s});
        return;
    }
    storePath(Preferences::installPath.key, game.root());
    storePath(Preferences::launchPath.key, game.launcher());
}

void AppDelegate::storePath(const QString &key, const QString &path)
{
    m_surroundings.defaults.setObject(key, path);
    if (m_settingsWindow)
        m_settingsWindow->showStored();
}

void AppDelegate::okaySettings()
{
    reLogin();
    closeSettings();
}

// Puts the snapshot back, the system-wide values too, into the player's own preferences. A key that was stored since
// for the first time stays (docs/kept-on-purpose.md).
void AppDelegate::cancelSettings()
{
    for (auto entry = m_settingsOldValue.begin(); entry != m_settingsOldValue.end(); ++entry)
        m_surroundings.defaults.setObject(entry.key(), entry.value());
    closeSettings();
}

void AppDelegate::closeSettings()
{
    if (m_settingsWindow)
        m_settingsWindow->close();
}
