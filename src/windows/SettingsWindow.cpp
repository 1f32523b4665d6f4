#include "windows/SettingsWindow.h"

#include "ui_SettingsWindow.h"

#include "controls/Theme.h"
#include "places/Preferences.h"
#include "platform/Text.h"
#include "platform/Workspace.h"

#include <QCloseEvent>
#include <QScreen>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
const QString sheet = uR"(
QLabel[role="heading"] { font-weight: 600; }
ElidedLabel[role="path"], QLabel[role="explanation"] { color: @muted; }
HintLabel { color: @warning; }
)"_s;

void fill(QLineEdit &field, const QString &text)
{
    const QSignalBlocker isNoChange(field);
    field.setText(text);
}

QString hintAbout(const GameFolder::Finding &finding)
{
    switch (finding.kind) {
    case GameFolder::Finding::Usable:
        break;
    case GameFolder::Finding::NoFolder:
        return u"This folder does not exist. Choose the one that holds \"_retail_\"."_s;
    case GameFolder::Finding::NoVariant:
        return u"There is no \"_retail_\" in this folder. Choose the one that holds it."_s;
    case GameFolder::Finding::OtherSpelling:
        return Text::filled(u"The game has a folder \"%@\" here, and may not see the guide pack in \"%@\".",
                            {finding.found, finding.expected});
    }
    return {};
}

QString hintAbout(Workspace::Startable launcher)
{
    switch (launcher) {
    case Workspace::Startable::Yes:
        break;
    case Workspace::Startable::Missing:
        return u"The launcher is no longer there."_s;
    case Workspace::Startable::EmptyBundle:
        return u"There is no program in this folder that could be started."_s;
    case Workspace::Startable::WithoutGio:
        return u"To start a desktop entry the tool \"gio\" is needed, and it is not installed."_s;
    case Workspace::Startable::WithoutWine:
        return u"To start a Windows program Wine is needed, and it is not installed."_s;
    case Workspace::Startable::NoProgram:
        return u"This is no program, or its file is not marked as executable."_s;
    }
    return {};
}
} // namespace

SettingsWindow::SettingsWindow(UserDefaults &defaults, QWidget *parent)
    : QDialog(parent), m_defaults(defaults), m_ui(std::make_unique<Ui::SettingsWindow>())
{
    m_ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    Theme::follow(*this, sheet);
    setMinimumWidth(std::min(fontMetrics().averageCharWidth() * 80, screen()->availableSize().width() * 9 / 10));
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
    showPaths();
}

// What is said of a path stands below it for the eye, and in its button's description for the ear.
void SettingsWindow::showPaths()
{
    const auto show = [](const QString &path, const QString &hint, ElidedLabel &label, HintLabel &below,
                         QWidget &button) {
        label.setText(path);
        below.setHint(hint);
        button.setAccessibleDescription(hint.isEmpty() ? path : path + u". "_s + hint);
    };
    const GameFolder game = GameFolder::current(m_defaults);
    show(game.root(), hintAbout(game.judged()), *m_ui->installPathLabel, *m_ui->installPathHint,
         *m_ui->installPathButton);
    const QString launcher = Preferences::launchPath.in(m_defaults);
    const bool isChosen = !launcher.isEmpty();
    show(isChosen ? launcher : u"not chosen yet"_s, isChosen ? hintAbout(Workspace::startable(launcher)) : QString(),
         *m_ui->launchPathLabel, *m_ui->launchPathHint, *m_ui->launchPathButton);
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
    connect(m_ui->showPasswordButton, &QPushButton::clicked, this,
            [this] { showPassword(m_ui->passwordField->echoMode() == QLineEdit::Password); });
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

// The button names what it will do, and so is not one that stays pressed: "Hide password, pressed" would say that the
// password is hidden.
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

// The player may have moved or installed something meanwhile.
bool SettingsWindow::event(QEvent *event)
{
    const bool isHandled = QDialog::event(event);
    if (event->type() == QEvent::WindowActivate)
        showPaths();
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::Resize)
        makeRoomForWrappedText();
    return isHandled;
}

// A layout keeps no room for text that wraps. While a window opens it is not told of a size that changes again.
void SettingsWindow::makeRoomForWrappedText()
{
    setMinimumHeight(layout()->totalHeightForWidth(width()));
    layout()->setGeometry(contentsRect());
}

void SettingsWindow::closeEvent(QCloseEvent *event)
{
    Q_EMIT closing();
    event->accept(); // the base class would take it for Cancel
}
