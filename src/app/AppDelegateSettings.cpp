#include "app/AppDelegate.h"

#include "app/MainWindow.h"
#include "platform/Alert.h"
#include "platform/Text.h"
#include "platform/UserDefaults.h"
#include "platform/Windows.h"
#include "settings/GameLocation.h"
#include "settings/OpenPanel.h"
#include "settings/PreferenceKeys.h"
#include "settings/SettingsWindow.h"

#include <QPointer>

using namespace Qt::StringLiterals;

void AppDelegate::openSettings()
{
    if (!m_settingsWindow)
        loadSettingsWindow();
    Windows::center(*m_settingsWindow);
    Windows::makeKeyAndOrderFront(*m_settingsWindow);
    m_settingsOldValue = m_surroundings.defaults.dictionaryRepresentation(); // afresh, also when it was open already
}

void AppDelegate::loadSettingsWindow()
{
    m_settingsWindow = new SettingsWindow(m_surroundings.defaults, m_window.get());
    connect(m_settingsWindow, &SettingsWindow::browsePressed, this, &AppDelegate::browser);
    connect(m_settingsWindow, &SettingsWindow::detectPressed, this, &AppDelegate::autoDetectPath);
    connect(m_settingsWindow, &SettingsWindow::repairPressed, this, &AppDelegate::repairtInstallation);
    connect(m_settingsWindow, &SettingsWindow::okayPressed, this, &AppDelegate::okaySettings);
    connect(m_settingsWindow, &SettingsWindow::cancelPressed, this, &AppDelegate::cancelSettings);
    connect(m_settingsWindow, &SettingsWindow::closing, this, [this] { windowWillClose(m_settingsWindow); });
}

void AppDelegate::browser(const QObject *sender)
{
    const QString key = sender->property("buttonType").toString();
    if (key.isEmpty())
        return;
    UserDefaults &defaults = m_surroundings.defaults;
    const auto choice = key == PreferenceKeys::installPath ? OpenPanel::Folders : OpenPanel::Files;
    // Watched: the program's end may delete the settings window, and it too, while it is open.
    const QPointer<OpenPanel> panel(
        new OpenPanel(choice, defaults.stringForKey(key).value_or(QString()), m_settingsWindow));
    if (panel->exec() == QDialog::Accepted && panel && !panel->chosen().isEmpty())
        storePath(key, panel->chosen());
    delete panel;
}

void AppDelegate::autoDetectPath()
{
    const GameLocation game = GameLocation::standard();
    const QString missing = game.missing();
    if (!missing.isEmpty()) {
        m_surroundings.alert.runModal({Text::filled(u"%@ does not exist. Please verify you installation", {missing})});
        return;
    }
    storePath(PreferenceKeys::installPath, game.gameFolder);
    storePath(PreferenceKeys::launchPath, game.launcher);
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

// Puts the snapshot back, the system-wide values too. A key that was stored since for the first time stays: agreed.
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
