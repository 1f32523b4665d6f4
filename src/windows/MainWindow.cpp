#include "windows/MainWindow.h"

#include "ui_MainWindow.h"

#include "controls/FocusRing.h"
#include "controls/Theme.h"
#include "resources/Pictures.h"
#include "windows/ShownState.h"
#include "windows/SpokenState.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFontInfo>
#include <QLocale>
#include <QScreen>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
const QString sheet = uR"(
QLabel[role="heading"] { font-weight: 600; }
QLabel[role="caption"] { color: @muted; }
ElidedLabel[role="version"] { font-weight: 600; }
CursorButtons { background: transparent; border: none; }
WayfarProgressIndicator { background: @groove; border: none; }
WayfarProgressIndicator::chunk { background: @action; }
QPushButton#mainButton { background: @action; color: @on-action; border: none; border-radius: @button-radius;
    padding: 0 28px; }
QPushButton[role="quiet"] { border: 1px solid @line; border-radius: @card-radius; padding: 4px 12px; }
QPushButton[role="quiet"]:hover { background: @groove; }
QPushButton[role="quiet"]:pressed { border-color: @muted; }
QPushButton[role="quiet"]:focus { border: 2px solid @focus; padding: 3px 11px; }
QPushButton#mainButton:hover { background: @action-hover; }
QPushButton#mainButton:pressed { background: @action-pressed; }
QPushButton#mainButton:disabled { background: @groove; color: @faint; }
)"_s;

// Each post is a line of title and a line of date, as the feed's page has them. The page has half pixels around
// everything, with which titles and dates would not begin at one edge.
const QString newsSheet = uR"(
html, body > font, body > font > a { margin: 0; padding: 0; }
body { padding: 0; }
body > font { display: block; }
body > font + br { display: none; }
body > font[size="3"] { line-height: 1.3; }
body > font[size="2"] { color: @page-muted; margin: 2px 0 14px; }
)"_s;

constexpr int widestContent = 1920; // the large banner at twice its size
constexpr QSize largeBanner(960, 176);
constexpr QSize smallBanner(300, 100);

// More for a larger font than the usual one of ten points, as far as the screen has it.
QSize openingSize(const QWidget &window)
{
    const QSize usual = window.size();
    const int larger = std::max(QFontInfo(window.font()).pixelSize(), 13);
    return (usual * larger / 13).boundedTo(window.screen()->availableGeometry().size() * 9 / 10).expandedTo(usual);
}

QString paceText(const DownloadPace &pace)
{
    if (pace.time.count() <= 0)
        return {};
    const QLocale locale;
    const QString received = locale.formattedDataSize(pace.received);
    const QString size =
        pace.expected > 0 ? u"%1 of %2"_s.arg(received, locale.formattedDataSize(pace.expected)) : received;
    return u"%1, %2 per second"_s.arg(size, locale.formattedDataSize(pace.received * 1000 / pace.time.count()));
}
} // namespace

MainWindow::MainWindow(const ShownState &state) : m_state(state), m_ui(std::make_unique<Ui::MainWindow>())
{
    m_ui->setupUi(this);
    resize(openingSize(*this));
    setWindowTitle(QGuiApplication::applicationDisplayName());
    m_ui->largeImage->setImage(Pictures::imageNamed(u"large"_s));
    m_ui->smallImage->setImage(Pictures::imageNamed(u"small"_s));
    Theme::follow(*m_ui->centralWidget, sheet);
    Theme::follow(*m_ui->mainButton, [this](const QPalette &) {
        scaleMainButton();
        QMetaObject::invokeMethod(this, &MainWindow::arrange, Qt::QueuedConnection); // when all have the new font
    });
    m_ui->rssView->dressPages(newsSheet);
    m_ui->largeImage->setLargestScale(2);
    m_ui->smallImage->setRoom(smallBanner);
    for (ImageView *banner : {m_ui->largeImage, m_ui->smallImage})
        banner->setCornerRadius(Theme::cardRadius);
    for (QWidget *framed : {static_cast<QWidget *>(m_ui->largeImage), static_cast<QWidget *>(m_ui->smallImage),
                            static_cast<QWidget *>(m_ui->accountCard), static_cast<QWidget *>(m_ui->newsCard)})
        new FocusRing(*framed, Theme::cardRadius);
    new FocusRing(*m_ui->mainButton, Theme::buttonRadius);
    bind();
    connectControls();
    new SpokenState(state,
                    {.mainButton = m_ui->mainButton,
                     .content = m_ui->centralWidget,
                     .status = m_ui->statusLabel,
                     .versionCaptions = {m_ui->currentVersionCaption, m_ui->updateVersionCaption}},
                    this);
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
        m_ui->statusLabel->setFailure(m_state.isStatusFailure());
    });
    follow(&ShownState::updateProgressbarChanged,
           [this] { m_ui->progressIndicator->setPercentage(m_state.updateProgressbar()); });
    follow(&ShownState::downloadPaceChanged,
           [this] { m_ui->progressIndicator->setToolTip(paceText(m_state.downloadPace())); });
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
    connect(m_ui->siteAction, &QAction::triggered, this, &MainWindow::siteWanted);
    connect(m_ui->aboutAction, &QAction::triggered, this, &MainWindow::aboutWanted);
    connect(m_ui->quitAction, &QAction::triggered, this, &QWidget::close);
}

// The one thing that most players come for is written larger than the rest, and has room for either of its titles.
void MainWindow::scaleMainButton()
{
    QFont large = QApplication::font();
    large.setPointSizeF(QFontInfo(large).pointSizeF() * 1.6);
    large.setWeight(QFont::DemiBold);
    m_ui->mainButton->setFont(large);
    constexpr int Padding = 28;
    const int width = QFontMetrics(large).horizontalAdvance(u"Update"_s) + 2 * Padding;
    m_ui->mainButton->setMinimumWidth(std::max(width, 168));
}

// The banner fills the width, but takes no more than a third of the height. In a very wide window the content stays
// together in the middle.
void MainWindow::arrange()
{
    QLayout &layout = *m_ui->centralWidget->layout();
    const int margin = layout.contentsMargins().top();
    const int side = std::max(margin, (width() - widestContent) / 2);
    layout.setContentsMargins(side, margin, side, margin);
    const QSize room(width() - 2 * side, std::min(height() / 3, 2 * largeBanner.height()));
    m_ui->largeImage->setRoom(largeBanner.scaled(room, Qt::KeepAspectRatio));
    const int leftOver = room.width() - m_ui->mainButton->minimumWidth() - m_ui->statusLabel->minimumSizeHint().width()
        - 2 * m_ui->footerLayout->spacing();
    m_ui->smallImage->setVisible(leftOver >= smallBanner.width() * 2 / 3); // a smaller one can't be made out
}

void MainWindow::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    arrange();
}

// The toolkit's own order is lost when the web engine puts widgets of its own into the panes.
bool MainWindow::focusNextPrevChild(bool next)
{
    const QList<QWidget *> order = {m_ui->mainButton, m_ui->settingsButton, m_ui->htmlView, m_ui->changeLogButton,
                                    m_ui->rssView,    m_ui->button1,        m_ui->button2};
    const QWidget *focused = focusWidget();
    const auto current = std::find_if(order.begin(), order.end(), [focused](const QWidget *widget) {
        return widget == focused || (focused && widget->isAncestorOf(focused));
    });
    qsizetype index = current == order.end() ? 0 : current - order.begin();
    do
        index = (index + (next ? 1 : order.size() - 1)) % order.size();
    while (!order[index]->isEnabled() || !order[index]->isVisible());
    order[index]->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
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
