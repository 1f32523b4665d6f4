#include "support/DarkDesktop.h"
#include "support/PageScript.h"
#include "support/Program.h"

#include "controls/CursorButtons.h"
#include "controls/ElidedLabel.h"
#include "controls/ImageView.h"
#include "controls/Theme.h"
#include "pack/WayfarUpdateInstaller.h"
#include "places/Preferences.h"
#include "windows/AboutWindow.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>

using namespace Qt::StringLiterals;

namespace
{
const QString launchFailed = u"Failed to launch World of Warcraft Launcher. Please check settings..."_s;

QString accessibleName(QWidget &widget)
{
    const QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(&widget);
    return interface ? interface->text(QAccessible::Name) : QString();
}

// The nearest ancestor with a name: a web view's keyboard belongs to a child of its own making.
QString nameOf(const QWidget *widget)
{
    while (widget && widget->objectName().isEmpty())
        widget = widget->parentWidget();
    return widget ? widget->objectName() : QString();
}
} // namespace

class TestMainWindow : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { end(); }
    void init();

    void playOpensTheLauncherAndEnds_data();
    void playOpensTheLauncherAndEnds();
    void everyOtherTitleDownloads_data();
    void everyOtherTitleDownloads();
    void aPressStartsTheDownloadAfresh();
    void theKeyboardPressesTheMainButton();
    void bothBannersOpenTheVendorsPage();
    void theBannerButtonsAreTransparentWithAHand();
    void onlyTheMainWindowsEndEndsTheProgram();
    void closingTheMainWindowTwiceIsHarmless();
    void theMenuQuitsByClosingTheWindow();
    void addressesWithAHostOpenInTheBrowser_data();
    void addressesWithAHostOpenInTheBrowser();
    void theMenuHoldsWhatTheWindowsButtonsDo();
    void theHelpMenuOpensTheVendorsSiteInTheBrowser();
    void theHelpMenuTellsAboutTheProgramOnce();
    void everyControlHasAName();
    void aToolHearsWhatIsShownAndWhatItIsAbout();
    void theKeyboardGoesThroughTheWindowInOrder();
    void theKeyboardsPlaceHasARing_data();
    void theKeyboardsPlaceHasARing();
    void theCardsCornersAreRound();
    void secondaryTextsAreMuted();
    void itFollowsAChangeToDarkAndBack();

private:
    QAbstractButton &mainButton() { return *m_program->control("mainButton"); }
};

void TestMainWindow::initTestCase()
{
    begin();
    QVERIFY(m_program->start());
}

void TestMainWindow::init()
{
    QTRY_VERIFY(delegate().updateNotStarted());
    m_program->forgetDeeds();
    m_program->workspace.opens = true;
    m_world->write(m_world->preferencesFile(), "{}");
    m_world->defaults().synchronize();
    m_world->defaults().setObject(Preferences::installPath.key, m_world->gameFolder());
    m_world->vendor().clearRequests();
    delegate().window()->show();
    delegate().window()->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(delegate().window()));
    mainButton().setFocus();
    delegate().setStatusStr(u"before"_s);
}

void TestMainWindow::playOpensTheLauncherAndEnds_data()
{
    QTest::addColumn<QString>("launcher");
    QTest::addColumn<bool>("opens");
    QTest::newRow("none is stored") << QString() << true;
    QTest::newRow("one that can't be opened") << u"/gone"_s << false;
    QTest::newRow("one that opens") << u"/games/launcher"_s << true;
}

void TestMainWindow::playOpensTheLauncherAndEnds()
{
    QFETCH(const QString, launcher);
    QFETCH(const bool, opens);
    if (!launcher.isEmpty())
        m_world->defaults().setObject(Preferences::launchPath.key, launcher);
    m_program->workspace.opens = opens;
    delegate().setButtonText(u"Play"_s);
    m_program->click("mainButton");
    const bool ends = opens && !launcher.isEmpty();
    QCOMPARE(m_program->workspace.files, launcher.isEmpty() ? QStringList() : QStringList{launcher});
    QCOMPARE(m_program->terminations, ends ? 1 : 0);
    QCOMPARE(delegate().statusStr(), ends ? u"before"_s : launchFailed);
    QVERIFY(m_world->vendor().requests("/api/dlGuide").isEmpty());
    QVERIFY(delegate().window()->isVisible());
}

void TestMainWindow::everyOtherTitleDownloads_data()
{
    QTest::addColumn<QString>("title");
    QTest::newRow("Update") << u"Update"_s;
    QTest::newRow("none") << QString();
    QTest::newRow("another letter case") << u"play"_s;
    QTest::newRow("longer") << u"Play "_s;
}

void TestMainWindow::everyOtherTitleDownloads()
{
    QFETCH(const QString, title);
    m_world->defaults().setObject(Preferences::launchPath.key, u"/games/launcher"_s);
    delegate().setButtonText(title);
    m_program->click("mainButton");
    QCOMPARE(delegate().statusStr(), u"Downloading..."_s);
    QTRY_COMPARE(delegate().updateNotStarted(), true);
    QCOMPARE(m_world->vendor().requests("/api/dlGuide").size(), 1);
    QVERIFY(m_program->workspace.files.isEmpty());
}

void TestMainWindow::aPressStartsTheDownloadAfresh()
{
    delegate().setUpdateProgressbar(100);
    std::optional<QString> statusWhenStarted;
    double progressWhenStarted = -1;
    connect(&delegate(), &AppDelegate::updateNotStartedChanged, this, [&] {
        if (!delegate().updateNotStarted()) {
            statusWhenStarted = delegate().statusStr();
            progressWhenStarted = delegate().updateProgressbar();
        }
    });
    delegate().update(u"Update"_s);
    const WayfarUpdateInstaller *first = delegate().updateInstaller();
    QVERIFY(first);
    QCOMPARE(first->delegate(), &delegate());
    QCOMPARE(statusWhenStarted, u"before"_s);
    QCOMPARE(progressWhenStarted, 0.0);
    QVERIFY(!delegate().updateNotStarted());
    QVERIFY(!mainButton().isEnabled());
    QCOMPARE(delegate().statusStr(), u"Downloading..."_s);
    QTRY_VERIFY(delegate().updateNotStarted());
    QCOMPARE(delegate().updateInstaller(), first); // kept until the next press
}

void TestMainWindow::theKeyboardPressesTheMainButton()
{
    delegate().setButtonText(u"Play"_s);
    QVERIFY(mainButton().hasFocus());
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) {
        delegate().setStatusStr(u"before"_s);
        QTest::keyClick(delegate().window()->windowHandle(), key);
        QCOMPARE(delegate().statusStr(), launchFailed);
    }
}

void TestMainWindow::bothBannersOpenTheVendorsPage()
{
    const QUrl page(u"https://www.wayfar.example/installer/redirect.php"_s);
    for (const bool opens : {true, false}) { // whether it does is nobody's concern
        m_program->workspace.opens = opens;
        for (const char *name : {"button1", "button2"}) {
            m_program->workspace.urls.clear();
            m_program->click(name);
            m_program->control(name)->setFocus();
            QTest::keyClick(delegate().window()->windowHandle(), Qt::Key_Space);
            QCOMPARE(m_program->workspace.urls, (QList<QUrl>{page, page}));
        }
    }
    QCOMPARE(delegate().statusStr(), u"before"_s);
    QVERIFY(m_program->alert.shown.isEmpty());
}

void TestMainWindow::theBannerButtonsAreTransparentWithAHand()
{
    const std::pair<const char *, const char *> pairs[] = {{"button1", "largeImage"}, {"button2", "smallImage"}};
    for (const auto &[button, image] : pairs) {
        auto *over = m_program->control<CursorButtons>(button);
        auto *picture = m_program->control<ImageView>(image);
        QCOMPARE(over->QWidget::cursor().shape(), Qt::PointingHandCursor);
        QCOMPARE(QRect(over->mapTo(picture, QPoint()), over->size()), picture->rect());
        const QImage with = picture->grab().toImage();
        over->hide();
        QCOMPARE(with, picture->grab().toImage());
        over->show();
    }
}

void TestMainWindow::onlyTheMainWindowsEndEndsTheProgram()
{
    QWidget other;
    delegate().windowWillClose(&other);
    delegate().windowWillClose(nullptr);
    QCOMPARE(m_program->terminations, 0);
    delegate().windowWillClose(delegate().window());
    QCOMPARE(m_program->terminations, 1);
}

void TestMainWindow::closingTheMainWindowTwiceIsHarmless()
{
    QVERIFY(delegate().window()->close());
    QVERIFY(m_program->terminations > 0);
    delegate().window()->show();
    QVERIFY(delegate().window()->close());
    delegate().setStatusStr(u"still here"_s);
    QCOMPARE(m_program->control<ElidedLabel>("statusLabel")->text(), u"still here"_s);
}

void TestMainWindow::theMenuQuitsByClosingTheWindow()
{
    QTest::keyClick(delegate().window()->windowHandle(), Qt::Key_Q, Qt::ControlModifier);
    QVERIFY(!delegate().window()->isVisible());
    QVERIFY(m_program->terminations > 0);
}

void TestMainWindow::addressesWithAHostOpenInTheBrowser_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<bool>("inThePane");
    QTest::newRow("https") << u"https://wayfar.example/page?a=b#c"_s << false;
    QTest::newRow("http") << u"http://other.example"_s << false;
    QTest::newRow("an IP number") << u"https://[::1]/"_s << false;
    QTest::newRow("a file of another host") << u"file://server/share/page.html"_s << false;
    QTest::newRow("a file") << u"file:///tmp/page.html"_s << true;
    QTest::newRow("a mail address") << u"mailto:ann@wayfar.example"_s << true;
    QTest::newRow("an empty page") << u"about:blank"_s << true;
}

void TestMainWindow::addressesWithAHostOpenInTheBrowser()
{
    QFETCH(const QString, address);
    QFETCH(const bool, inThePane);
    QCOMPARE(delegate().webViewDecidePolicyForNavigationAction(QUrl(address)), inThePane);
    QCOMPARE(m_program->workspace.urls, inThePane ? QList<QUrl>() : QList<QUrl>{QUrl(address)});
}

void TestMainWindow::theMenuHoldsWhatTheWindowsButtonsDo()
{
    QStringList entries;
    for (const QAction *menu : m_program->control<QMenuBar>("menuBar")->actions()) {
        for (const QAction *entry : menu->menu()->actions())
            entries.append(entry->text().remove(u'&').remove(u'…'));
    }
    for (const char *name : {"settingsButton", "changeLogButton"})
        QVERIFY2(entries.contains(m_program->control(name)->text()), name);
    QVERIFY(entries.contains(u"Quit"_s));
}

void TestMainWindow::theHelpMenuOpensTheVendorsSiteInTheBrowser()
{
    m_program->control<QAction>("siteAction")->trigger();
    QCOMPARE(m_program->workspace.urls, QList<QUrl>{QUrl(m_world->site().homePage())});
}

void TestMainWindow::theHelpMenuTellsAboutTheProgramOnce()
{
    auto *const about = m_program->control<QAction>("aboutAction");
    about->trigger();
    about->trigger();
    const auto windows = delegate().window()->findChildren<AboutWindow *>();
    QCOMPARE(windows.size(), 1);
    QVERIFY(windows.constFirst()->isVisible());
    windows.constFirst()->close();
    QTRY_VERIFY(delegate().window()->findChildren<AboutWindow *>().isEmpty());
    QCOMPARE(m_program->terminations, 0);
    about->trigger();
    QCOMPARE(delegate().window()->findChildren<AboutWindow *>().size(), 1);
    delete delegate().window()->findChild<AboutWindow *>();
}

void TestMainWindow::everyControlHasAName()
{
    delegate().setButtonText(u"Update"_s);
    int controls = 0;
    for (QWidget *widget : delegate().window()->findChildren<QWidget *>()) {
        const bool isControl = qobject_cast<QAbstractButton *>(widget) || qobject_cast<QProgressBar *>(widget)
            || qobject_cast<ElidedLabel *>(widget) || qobject_cast<Pane *>(widget) || qobject_cast<QLabel *>(widget);
        if (!isControl || !widget->isVisible())
            continue;
        ++controls;
        const QString name = accessibleName(*widget);
        const bool isText = qobject_cast<ElidedLabel *>(widget); // its name is its text, perhaps an empty one
        QVERIFY2((isText || !name.isEmpty()) && !name.contains(u'&'), qPrintable(nameOf(widget)));
        QVERIFY2(!qobject_cast<QAbstractButton *>(widget) || qobject_cast<QPushButton *>(widget),
                 qPrintable(nameOf(widget)));
    }
    QVERIFY(controls >= 14);
}

void TestMainWindow::aToolHearsWhatIsShownAndWhatItIsAbout()
{
    const auto interface = [this](const char *name) {
        return QAccessible::queryAccessibleInterface(m_program->control<QWidget>(name));
    };
    delegate().setCurrentVersion(u"1.2.5"_s);
    delegate().setUpdateVersion(u"1.2.6"_s);
    QCOMPARE(interface("currentVersionLabel")->text(QAccessible::Name), u"1.2.5"_s);
    QCOMPARE(interface("updateVersionLabel")->text(QAccessible::Name), u"1.2.6"_s);
    const QList<std::pair<const char *, const char *>> captions = {{"currentVersionLabel", "currentVersionCaption"},
                                                                   {"updateVersionLabel", "updateVersionCaption"}};
    for (const auto &[label, caption] : captions) {
        const auto related = interface(label)->relations(QAccessible::Label);
        QCOMPARE(related.size(), 1);
        QCOMPARE(related.constFirst().first->object(), m_program->control<QWidget>(caption));
    }
    for (const QString &status : {u"Downloading..."_s, u"Installing..."_s}) {
        delegate().setStatusStr(status);
        QCOMPARE(interface("statusLabel")->text(QAccessible::Name), status);
        const QString all = status + u" Installed 1.2.5, Published 1.2.6"_s;
        QTRY_COMPARE(interface("mainButton")->text(QAccessible::Description), all);
        QCOMPARE(interface("centralWidget")->text(QAccessible::Description), all); // while the button is disabled
    }
}

void TestMainWindow::theKeyboardGoesThroughTheWindowInOrder()
{
    const QStringList order = {u"mainButton"_s, u"settingsButton"_s, u"htmlView"_s, u"changeLogButton"_s,
                               u"rssView"_s,    u"button1"_s,        u"button2"_s};
    QVERIFY(waitUntil([this] { return textOf(*delegate().htmlView()).contains(u"Welcome"); }));
    QVERIFY(mainButton().hasFocus());
    QStringList visited = {u"mainButton"_s};
    const auto press = [&visited](Qt::KeyboardModifiers modifiers) {
        const QWidget *before = QApplication::focusWidget();
        QTest::keyClick(before->window()->windowHandle(), Qt::Key_Tab, modifiers);
        QVERIFY(waitUntil([before] { return QApplication::focusWidget() != before; }));
        visited.append(nameOf(QApplication::focusWidget()));
    };
    for (qsizetype i = 1; i < order.size(); ++i)
        press({});
    QCOMPARE(visited, order);
    press({});
    QVERIFY(mainButton().hasFocus());
    visited.clear();
    for (qsizetype i = 0; i < order.size(); ++i)
        press(Qt::ShiftModifier);
    QCOMPARE(visited, QStringList(order.rbegin(), order.rend()));
    mainButton().setEnabled(false);
    m_program->control("settingsButton")->setFocus();
    press(Qt::ShiftModifier);
    QVERIFY(m_program->control("button2")->hasFocus());
    mainButton().setEnabled(true);
}

void TestMainWindow::theKeyboardsPlaceHasARing_data()
{
    QTest::addColumn<QString>("focused");
    QTest::addColumn<QString>("framed");
    QTest::newRow("the large banner") << u"button1"_s << u"largeImage"_s;
    QTest::newRow("the small banner") << u"button2"_s << u"smallImage"_s;
    QTest::newRow("the account") << u"htmlView"_s << u"accountCard"_s;
    QTest::newRow("the news") << u"rssView"_s << u"newsCard"_s;
    QTest::newRow("the main button") << u"mainButton"_s << u"mainButton"_s;
}

void TestMainWindow::theKeyboardsPlaceHasARing()
{
    QFETCH(const QString, focused);
    QFETCH(const QString, framed);
    auto *content = m_program->control<QWidget>("centralWidget");
    const QRect around = content->findChild<QWidget *>(framed)->geometry();
    const auto beside = [&] {
        return content->grab(QRect(around.left() - 3, around.center().y(), 1, 1)).toImage().pixelColor(0, 0);
    };
    m_program->control("settingsButton")->setFocus();
    QCOMPARE(beside(), content->palette().color(QPalette::Window));
    content->findChild<QWidget *>(focused)->setFocus();
    QCOMPARE(beside(), Theme::color(u"focus"_s, content->palette()));
}

void TestMainWindow::theCardsCornersAreRound()
{
    for (const char *name : {"accountCard", "newsCard"}) {
        const QImage card = m_program->control<QWidget>(name)->grab().toImage();
        QCOMPARE(card.pixelColor(1, 1), delegate().window()->palette().color(QPalette::Window));
        QCOMPARE(card.pixelColor(0, card.height() / 2), Theme::color(u"line"_s, delegate().window()->palette()));
    }
}

void TestMainWindow::secondaryTextsAreMuted()
{
    const QColor muted = Theme::color(u"muted"_s, delegate().window()->palette());
    for (const char *name : {"currentVersionCaption", "updateVersionCaption"})
        QCOMPARE(m_program->control<QLabel>(name)->palette().color(QPalette::WindowText).name(), muted.name());
}

void TestMainWindow::itFollowsAChangeToDarkAndBack()
{
    verifyFollowsTheDesktop(*delegate().window()->findChild<QWidget *>(u"centralWidget"_s));
}

QTEST_MAIN(TestMainWindow)
#include "TestMainWindow.moc"
