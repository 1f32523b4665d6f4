#include "windows/MainWindow.h"

#include "ui_MainWindow.h"

#include "controls/Theme.h"
#include "resources/Pictures.h"
#include "windows/ShownState.h"

#include <QCloseEvent>

using namespace Qt::StringLiterals;

namespace
{
const QString sheet = uR"(
QFrame#accountCard, QFrame#newsCard { background: @paper; border: 1px solid @line; border-radius: @card-radius; }
QLabel[role="heading"] { font-weight: 600; }
QLabel[role="caption"] { color: @muted; }
ElidedLabel[role="version"] { font-weight: 600; }
ElidedLabel#statusLabel { color: @muted; }
CursorButtons { background: transparent; border: @focus-width solid transparent; }
CursorButtons:focus { border-color: @focus; outline: @focus-width solid @beside-focus; }
WayfarProgressIndicator { background: @groove; border: none; }
WayfarProgressIndicator::chunk { background: @action; }
QPushButton#mainButton { background: @action; color: @on-action; border: @focus-width solid @action;
    border-radius: @button-radius; padding: 0 28px; font-weight: 600; }
QPushButton#mainButton:hover { background: @action-hover; border-color: @action-hover; }
QPushButton#mainButton:pressed { background: @action-pressed; border-color: @action-pressed; }
QPushButton#mainButton:focus { border-color: @action-focus; }
QPushButton#mainButton:disabled { background: @groove; border-color: @groove; color: @faint; }
)"_s;
} // namespace

MainWindow::MainWindow(const ShownState &state) : m_state(state), m_ui(std::make_unique<Ui::MainWindow>())
{
    m_ui->setupUi(this);
    setWindowTitle(QGuiApplication::applicationDisplayName());
    m_ui->largeImage->setImage(Pictures::imageNamed(u"large"_s));
    m_ui->smallImage->setImage(Pictures::imageNamed(u"small"_s));
    Theme::follow(*m_ui->centralWidget, sheet);
    bind();
    connectControls();
}

MainWindow::~MainWindow() = default;

// Each control rereads its property: an announcement may come late, from another thread.
void MainWindow::bind()
{
    const auto follow = [this](void (ShownState::*changed)(), const auto &show) {
        connect(&m_state, changed, this, show);
        show();
    };
    follow(&ShownState::currentVersionChanged,
           [this] { m_ui->currentVersionLabel->setText(m_state.currentVersion().value_or(QString())); });
    follow(&ShownState::updateVersionChanged,
           [this] { m_ui->updateVersionLabel->setText(m_state.updateVersion().value_or(u"not available"_s)); });
    follow(&ShownState::buttonTextChanged,
           [this] { m_ui->mainButton->setText(m_state.buttonText().value_or(QString())); });
    follow(&ShownState::statusStrChanged, [this] {
        m_ui->statusLabel->setText(m_state.statusStr().value_or(QString()));
        // A screen reader speaks a change of what has the keyboard: the button, or the content while it is disabled.
        for (QWidget *focused : {static_cast<QWidget *>(m_ui->mainButton), m_ui->centralWidget})
            focused->setAccessibleDescription(m_ui->statusLabel->accessibleName());
    });
    follow(&ShownState::updateProgressbarChanged,
           [this] { m_ui->progressIndicator->setPercentage(m_state.updateProgressbar()); });
    follow(&ShownState::updateNotStartedChanged, [this] { enableMainButton(m_state.updateNotStarted()); });
}

// A button that is disabled loses the keyboard to the next control: it gets it back, also in a background window.
void MainWindow::enableMainButton(bool enabled)
{
    if (!enabled && focusWidget() == m_ui->mainButton)
        m_ui->centralWidget->setFocus();
    m_ui->mainButton->setEnabled(enabled);
    if (enabled && focusWidget() == m_ui->centralWidget)
        m_ui->mainButton->setFocus();
}

void MainWindow::connectControls()
{
    connect(m_ui->mainButton, &QPushButton::clicked, this, [this] {
        Q_EMIT mainButtonPressed(m_ui->mainButton->text().remove(u'&')); // a desktop may have put a mnemonic into it
    });
    for (CursorButtons *banner : {m_ui->button1, m_ui->button2})
        connect(banner, &QPushButton::clicked, this, &MainWindow::bannerPressed);
    connect(m_ui->settingsButton, &QPushButton::clicked, this, &MainWindow::settingsWanted);
    connect(m_ui->settingsAction, &QAction::triggered, this, &MainWindow::settingsWanted);
    connect(m_ui->changeLogButton, &QPushButton::clicked, this, &MainWindow::changeLogWanted);
    connect(m_ui->changeLogAction, &QAction::triggered, this, &MainWindow::changeLogWanted);
    connect(m_ui->quitAction, &QAction::triggered, this, &QWidget::close);
}

void MainWindow::showEvent(QShowEvent *event)
{
    m_ui->mainButton->setFocus(); // the one thing that most players come for
    QMainWindow::showEvent(event);
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    Q_EMIT closing();
    QMainWindow::closeEvent(event);
}

Pane *MainWindow::htmlView() const
{
    return m_ui->htmlView;
}

Pane *MainWindow::rssView() const
{
    return m_ui->rssView;
}

ImageView *MainWindow::smallImage() const
{
    return m_ui->smallImage;
}

ImageView *MainWindow::largeImage() const
{
    return m_ui->largeImage;
}

CursorButtons *MainWindow::button1() const
{
    return m_ui->button1;
}

CursorButtons *MainWindow::button2() const
{
    return m_ui->button2;
}
