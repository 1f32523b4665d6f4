#include "app/MainWindow.h"

#include "app/AppDelegate.h"
#include "controls/Theme.h"
#include "platform/Bundle.h"
#include "ui_MainWindow.h"

#include <QCloseEvent>

using namespace Qt::StringLiterals;

MainWindow::MainWindow(AppDelegate &delegate) : m_delegate(delegate), m_ui(std::make_unique<Ui::MainWindow>())
{
    m_ui->setupUi(this);
    setWindowTitle(QGuiApplication::applicationDisplayName());
    m_ui->largeImage->setImage(Bundle::imageNamed(u"large"_s));
    m_ui->smallImage->setImage(Bundle::imageNamed(u"small"_s));
    Theme::follow(*m_ui->centralWidget, Theme::mainWindowStyle);
    bind();
    connectActions();
}

MainWindow::~MainWindow() = default;

// Each control rereads its property: an announcement may come late, from another thread.
void MainWindow::bind()
{
    const auto follow = [this](void (AppDelegate::*changed)(), const auto &show) {
        connect(&m_delegate, changed, this, show);
        show();
    };
    follow(&AppDelegate::currentVersionChanged,
           [this] { m_ui->currentVersionLabel->setText(m_delegate.currentVersion().value_or(QString())); });
    follow(&AppDelegate::updateVersionChanged,
           [this] { m_ui->updateVersionLabel->setText(m_delegate.updateVersion().value_or(u"not available"_s)); });
    follow(&AppDelegate::buttonTextChanged,
           [this] { m_ui->mainButton->setText(m_delegate.buttonText().value_or(QString())); });
    follow(&AppDelegate::statusStrChanged,
           [this] { m_ui->statusLabel->setText(m_delegate.statusStr().value_or(QString())); });
    follow(&AppDelegate::updateProgressbarChanged,
           [this] { m_ui->progressIndicator->setPercentage(m_delegate.updateProgressbar()); });
    follow(&AppDelegate::updateNotStartedChanged, [this] { enableMainButton(m_delegate.updateNotStarted()); });
}

// A disabled button hands the keyboard on to whatever comes next. It gets it back, also in a window in the background.
void MainWindow::enableMainButton(bool enabled)
{
    if (!enabled && focusWidget() == m_ui->mainButton)
        m_ui->centralWidget->setFocus();
    m_ui->mainButton->setEnabled(enabled);
    if (enabled && focusWidget() == m_ui->centralWidget)
        m_ui->mainButton->setFocus();
}

void MainWindow::connectActions()
{
    connect(m_ui->mainButton, &QPushButton::clicked, this, [this] {
        m_delegate.update(m_ui->mainButton->text().remove(u'&')); // a desktop may have put a mnemonic into it
    });
    connect(m_ui->button1, &QPushButton::clicked, &m_delegate, &AppDelegate::bannerClick);
    connect(m_ui->button2, &QPushButton::clicked, &m_delegate, &AppDelegate::bannerClick);
    connect(m_ui->settingsButton, &QPushButton::clicked, &m_delegate, &AppDelegate::openSettings);
    connect(m_ui->settingsAction, &QAction::triggered, &m_delegate, &AppDelegate::openSettings);
    connect(m_ui->changeLogButton, &QPushButton::clicked, &m_delegate, &AppDelegate::getLogs);
    connect(m_ui->changeLogAction, &QAction::triggered, &m_delegate, &AppDelegate::getLogs);
    connect(m_ui->quitAction, &QAction::triggered, this, &QWidget::close);
}

void MainWindow::showEvent(QShowEvent *event)
{
    m_ui->mainButton->setFocus(); // the one thing that most players come for
    QMainWindow::showEvent(event);
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    m_delegate.windowWillClose(this); // twice when the program's end closes it: it bears that
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
