#include "settings/SettingsWindow.h"

#include "controls/Theme.h"
#include "platform/UserDefaults.h"
#include "settings/PreferenceKeys.h"
#include "ui_SettingsWindow.h"

#include <QCloseEvent>

using namespace Qt::StringLiterals;

SettingsWindow::SettingsWindow(UserDefaults &defaults, QWidget *parent)
    : QDialog(parent), m_defaults(defaults), m_ui(std::make_unique<Ui::SettingsWindow>())
{
    m_ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    Theme::follow(*this, Theme::settingsStyle);
    showStored();
    bindControls();
    connectButtons();
}

SettingsWindow::~SettingsWindow() = default;

void SettingsWindow::showStored()
{
    const auto text = [this](const QString &key) { return m_defaults.stringForKey(key).value_or(QString()); };
    m_ui->userNameField->setText(text(PreferenceKeys::userName));
    m_ui->passwordField->setText(text(PreferenceKeys::password));
    m_ui->autoLaunchBox->setChecked(m_defaults.boolForKey(PreferenceKeys::autoLaunch));
    const QString game =
        m_defaults.stringForKey(PreferenceKeys::installPath).value_or(PreferenceKeys::defaultInstallPath);
    m_ui->installPathLabel->setText(game);
    const QString launcher = text(PreferenceKeys::launchPath);
    m_ui->launchPathLabel->setText(launcher.isEmpty() ? u"not chosen yet"_s : launcher);
}

// On every edit and not at its end, which comes late and would undo Cancel while the window closes.
void SettingsWindow::bindControls()
{
    connect(m_ui->userNameField, &QLineEdit::textEdited, this,
            [this](const QString &text) { m_defaults.setObject(PreferenceKeys::userName, text); });
    connect(m_ui->passwordField, &QLineEdit::textEdited, this,
            [this](const QString &text) { m_defaults.setObject(PreferenceKeys::password, text); });
    connect(m_ui->autoLaunchBox, &QCheckBox::clicked, this,
            [this](bool checked) { m_defaults.setObject(PreferenceKeys::autoLaunch, checked); });
    connect(m_ui->showPasswordButton, &QPushButton::toggled, this, &SettingsWindow::showPassword);
}

void SettingsWindow::connectButtons()
{
    for (WayfarNSButton *button : {m_ui->installPathButton, m_ui->launchPathButton})
        connect(button, &QPushButton::clicked, this, [this, button] { Q_EMIT browsePressed(button); });
    connect(m_ui->detectButton, &QPushButton::clicked, this, &SettingsWindow::detectPressed);
    connect(m_ui->repairButton, &QPushButton::clicked, this, &SettingsWindow::repairPressed);
    connect(m_ui->okButton, &QPushButton::clicked, this, &SettingsWindow::accept);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &SettingsWindow::reject);
}

void SettingsWindow::showPassword(bool shown)
{
    m_ui->passwordField->setEchoMode(shown ? QLineEdit::Normal : QLineEdit::Password);
    m_ui->showPasswordButton->setText(shown ? u"Hide"_s : u"Show"_s);
    m_ui->showPasswordButton->setAccessibleName(shown ? u"Hide password"_s : u"Show password"_s);
}

void SettingsWindow::accept()
{
    Q_EMIT okayPressed();
}

void SettingsWindow::reject()
{
    Q_EMIT cancelPressed();
}

void SettingsWindow::closeEvent(QCloseEvent *event)
{
    Q_EMIT closing();
    event->accept(); // the base class would take it for Cancel
}
