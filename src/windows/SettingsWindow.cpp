#include "windows/SettingsWindow.h"

#include "ui_SettingsWindow.h"

#include "controls/Theme.h"
#include "places/Preferences.h"

#include <QCloseEvent>

using namespace Qt::StringLiterals;

namespace
{
const QString sheet = uR"(
QLabel[role="heading"] { font-weight: 600; }
ElidedLabel[role="path"] { color: @muted; }
)"_s;

void fill(QLineEdit &field, const QString &text)
{
    const QSignalBlocker isNoChange(field);
    field.setText(text);
}
} // namespace

SettingsWindow::SettingsWindow(UserDefaults &defaults, QWidget *parent)
    : QDialog(parent), m_defaults(defaults), m_ui(std::make_unique<Ui::SettingsWindow>())
{
    m_ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    Theme::follow(*this, sheet);
    showStored();
    bindControls();
    connectButtons();
}

SettingsWindow::~SettingsWindow() = default;

void SettingsWindow::showStored()
{
    fill(*m_ui->userNameField, Preferences::userName.in(m_defaults));
    fill(*m_ui->passwordField, Preferences::password.in(m_defaults));
    {
        const QSignalBlocker isNoChange(m_ui->autoLaunchBox);
        m_ui->autoLaunchBox->setChecked(Preferences::autoLaunch.in(m_defaults));
    }
    m_ui->installPathLabel->setText(Preferences::installPath.in(m_defaults));
    const QString launcher = Preferences::launchPath.in(m_defaults);
    m_ui->launchPathLabel->setText(launcher.isEmpty() ? u"not chosen yet"_s : launcher);
}

// Every change is stored at once, whoever makes it: an assistive tool sends no key strokes and no clicks. The end of an
// edit would come too late: when the window closes, after Cancel.
void SettingsWindow::bindControls()
{
    connect(m_ui->userNameField, &QLineEdit::textChanged, this,
            [this](const QString &text) { m_defaults.setObject(Preferences::userName.key, text); });
    connect(m_ui->passwordField, &QLineEdit::textChanged, this,
            [this](const QString &text) { m_defaults.setObject(Preferences::password.key, text); });
    connect(m_ui->autoLaunchBox, &QCheckBox::toggled, this,
            [this](bool checked) { m_defaults.setObject(Preferences::autoLaunch.key, checked); });
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
