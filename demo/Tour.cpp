#include "demo/Tour.h"

#include "demo/DemoWorld.h"

#include "controls/Theme.h"

#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace
{
const QString mainLayout = u"MainWindow"_s;
const QString settingsLayout = u"SettingsWindow"_s;
} // namespace

Tour::Tour(DemoWorld &world) : m_world(world), m_guide(world) { }

void Tour::playFirstEvening()
{
    // The versions are not answered until the splash has been seen.
    VendorAnswer slow;
    slow.body = "1.2.6";
    slow.stallAfter = -1;
    m_world.vendor().queueAnswer("/api/wayfarVersion", slow);
    QTimer::singleShot(0, this, [this] {
        startUp();
        mainWindow();
        update(u"4-downloading"_s);
        repair();
        update({});
        changeLog();
        settings();
        play();
    });
}

void Tour::startUp()
{
    m_guide.picture(u"SplashScreen"_s, u"1-splash"_s);
    m_world.vendor().waitForRequests("/api/wayfarVersion", 1);
    m_world.vendor().step();
    m_guide.window(mainLayout);
    m_guide.done(u"start-up: the splash, then the main window"_s);
}

void Tour::mainWindow()
{
    m_guide.expectText(u"statusLabel"_s, u"Logged in as rowan..."_s);
    m_guide.expectPage(u"htmlView"_s);
    m_guide.expectPage(u"rssView"_s);
    m_guide.expectText(u"currentVersionLabel"_s, u"1.2.5"_s);
    m_guide.expectText(u"updateVersionLabel"_s, u"1.2.6"_s);
    m_guide.expectMainButton(u"Update"_s);
    m_guide.picture(mainLayout, u"2-update-available"_s);

    const QImage account = m_guide.page(u"htmlView"_s);
    const QImage news = m_guide.page(u"rssView"_s);
    Theme::setDarkPreferred(true);
    m_guide.expectPage(u"htmlView"_s, account);
    m_guide.expectPage(u"rssView"_s, news);
    m_guide.picture(mainLayout, u"3-update-available-dark"_s);
    Theme::setDarkPreferred(false);
    m_guide.done(u"login, news and banners: everything is there, and the button reads \"Update\""_s);
}

void Tour::update(const QString &picture)
{
    VendorAnswer half;
    half.contentType = "application/zip";
    half.body = m_world.pack();
    half.pieces = {half.body.size() * 6 / 10};
    half.stepped = true;
    m_world.vendor().queueAnswer("/api/dlGuide", half);

    m_guide.press(mainLayout, u"mainButton"_s);
    const auto *bar = m_guide.control<QProgressBar>(mainLayout, u"progressIndicator"_s);
    m_guide.expect(u"the bar moves"_s, [&] { return bar->value() >= 50 && bar->value() < 100; });
    m_guide.expectText(u"statusLabel"_s, u"Downloading..."_s);
    const auto *button = m_guide.control<QAbstractButton>(mainLayout, u"mainButton"_s);
    m_guide.expect(u"the button waits"_s, [&] { return !button->isEnabled(); });
    if (!picture.isEmpty())
        m_guide.picture(mainLayout, picture);
    m_world.vendor().step();

    m_guide.expectText(u"statusLabel"_s, u"Update Installed."_s);
    m_guide.expectMainButton(u"Play"_s);
    m_guide.expectText(u"currentVersionLabel"_s, u"1.2.6"_s);
    m_guide.expect(u"the add-on folder holds 1.2.6"_s,
                   [this] { return m_world.installedToc().contains("## Version: 1.2.6"); });
    m_guide.done(u"update: downloaded, unpacked and installed; the button reads \"Play\""_s);
}

void Tour::repair()
{
    m_guide.press(mainLayout, u"settingsButton"_s);
    m_guide.picture(settingsLayout, u"5-settings"_s);
    m_guide.answerNextAlert(u"Wayfar Installer successfully repaired Installation."_s, u"6-repaired"_s);
    m_guide.press(settingsLayout, u"repairButton"_s);
    m_guide.expect(u"the add-on is gone"_s, [this] { return m_world.installedToc().isEmpty(); });
    m_guide.press(settingsLayout, u"cancelButton"_s);
    m_guide.expectText(u"currentVersionLabel"_s, u"none"_s);
    m_guide.expectMainButton(u"Update"_s);
    m_guide.done(u"repair: the add-on is deleted, and the button reads \"Update\""_s);
}

void Tour::changeLog()
{
    m_guide.press(mainLayout, u"changeLogButton"_s);
    const auto *text = m_guide.control<QPlainTextEdit>(u"LogWindow"_s, u"textView"_s);
    m_guide.expect(u"the change log is shown"_s, [&] { return text->toPlainText().startsWith(u"Trailbook 1.2.6"_s); });
    m_guide.picture(u"LogWindow"_s, u"7-change-log"_s);
    m_guide.press(u"LogWindow"_s, u"closeButton"_s);
    m_guide.done(u"change log: shown in its own window"_s);
}

void Tour::settings()
{
    m_guide.press(mainLayout, u"settingsButton"_s);
    m_guide.type(settingsLayout, u"userNameField"_s, u"somebody else"_s);
    m_guide.press(settingsLayout, u"cancelButton"_s);
    m_guide.expect(u"the settings are closed"_s, [this] { return !m_guide.isOpen(settingsLayout); });

    m_guide.press(mainLayout, u"settingsButton"_s);
    const auto *user = m_guide.control<QLineEdit>(settingsLayout, u"userNameField"_s);
    m_guide.expect(u"Cancel has put the user name back"_s, [&] { return user->text() == u"rowan"_s; });
    const QImage account = m_guide.page(u"htmlView"_s);
    m_guide.type(settingsLayout, u"passwordField"_s, u"wrong turn"_s);
    m_guide.press(settingsLayout, u"okButton"_s);
    m_guide.expectText(u"statusLabel"_s, u"Incorrect Login..."_s);
    m_guide.expectPage(u"htmlView"_s, account);
    m_guide.picture(mainLayout, u"8-incorrect-login"_s);

    const QImage refusal = m_guide.page(u"htmlView"_s);
    m_guide.press(mainLayout, u"settingsButton"_s);
    m_guide.type(settingsLayout, u"passwordField"_s, u"long road"_s);
    m_guide.control<QCheckBox>(settingsLayout, u"autoLaunchBox"_s)->click();
    m_guide.press(settingsLayout, u"okButton"_s);
    m_guide.expectText(u"statusLabel"_s, u"Logged in as rowan..."_s);
    m_guide.expectPage(u"htmlView"_s, refusal);
    m_guide.done(u"settings: Cancel restores, OK logs in again, with a wrong and with the right password"_s);
}

void Tour::play()
{
    m_guide.expectMainButton(u"Play"_s);
    m_guide.picture(mainLayout, u"9-ready-to-play"_s);
    m_guide.press(mainLayout, u"mainButton"_s);
    m_guide.expect(u"the launcher has started"_s, [this] { return m_world.wasLaunched(); });
    m_guide.done(u"play: the launcher was started"_s);
    m_evening = true;
}

void Tour::playSecondEvening()
{
    m_world.forgetLaunch();
    QTimer::singleShot(0, this, [this] {
        m_guide.window(mainLayout);
        m_guide.expectMainButton(u"Play"_s);
        m_guide.expectPage(u"htmlView"_s);
        m_guide.expectPage(u"rssView"_s);
        m_guide.picture(mainLayout, u"10-starting-by-itself"_s);
        m_guide.expect(u"the launcher has started by itself"_s, [this] { return m_world.wasLaunched(); });
        m_guide.done(u"automatic launch: the launcher was started"_s);
        m_evening = true;
    });
}

void Tour::expectGoodEnd(int exitStatus)
{
    if (!std::exchange(m_evening, false))
        m_guide.fail(u"the program goes on to the end of the tour"_s);
    if (exitStatus != 0)
        m_guide.fail(u"the program ends with status 0, not %1"_s.arg(exitStatus));
    m_guide.done(u"the program ended with status 0"_s);
}
