#include "Tour.h"

#include "DemoWorld.h"

#include "controls/ElidedLabel.h"
#include "controls/Pane.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QProgressBar>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
void say(const char *mark, const QString &text)
{
    std::printf("%s %s\n", mark, text.toLocal8Bit().constData());
    std::fflush(stdout);
}

// A visible window by the name of its layout; null when there is none.
QWidget *windowNamed(const QString &name)
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->objectName() == name && window->isVisible())
            return window;
    }
    return nullptr;
}

template<typename Control> Control *control(const QString &name)
{
    QWidget *window = windowNamed(u"MainWindow"_s);
    return window ? window->findChild<Control *>(name) : nullptr;
}

bool reads(const QString &label, const QString &text)
{
    const auto *found = control<ElidedLabel>(label);
    return found && found->text() == text;
}

bool buttonReads(const QString &text)
{
    const auto *button = control<QAbstractButton>(u"mainButton"_s);
    return button && button->isEnabled() && button->text() == text;
}

// A web view is blank for a moment after its page has loaded: its text is dark.
bool showsText(const QString &pane)
{
    auto *view = control<Pane>(pane);
    if (!view)
        return false;
    const QImage image = view->grab().toImage().convertToFormat(QImage::Format_Grayscale8);
    for (int y = 0; y < image.height(); ++y) {
        const uchar *line = image.constScanLine(y);
        if (std::any_of(line, line + image.width(), [](uchar grey) { return grey < 90; }))
            return true;
    }
    return false;
}
} // namespace

Tour::Tour(DemoWorld &world) : m_world(world)
{
    // The versions are not answered until the splash has been seen.
    VendorAnswer slow;
    slow.body = "1.2.6";
    slow.stallAfter = -1;
    m_world.vendor().queueAnswer("/api/wayfarVersion", slow);
    QTimer::singleShot(0, this, &Tour::play);
}

int Tour::verdict(int exitStatus) const
{
    if (!m_finished) {
        say("FAIL", u"the program ended before the tour"_s);
        return EXIT_FAILURE;
    }
    say(exitStatus == 0 ? "ok  " : "FAIL", u"the program ended with status %1"_s.arg(exitStatus));
    return exitStatus;
}

void Tour::play()
{
    startUp();
    login();
    update();
    launch();
}

void Tour::startUp()
{
    expect(u"the splash is on the screen"_s, [] { return windowNamed(u"SplashScreen"_s); });
    savePicture(windowNamed(u"SplashScreen"_s), u"1-splash"_s);
    m_world.vendor().waitForRequests("/api/wayfarVersion", 1);
    m_world.vendor().step();
    expect(u"the main window is on the screen"_s, [] { return windowNamed(u"MainWindow"_s); });
    done(u"start-up: splash, then the main window"_s);
}

void Tour::login()
{
    expect(u"the status tells of the login"_s, [] { return reads(u"statusLabel"_s, u"Logged in as rowan..."_s); });
    expect(u"the account page is drawn"_s, [] { return showsText(u"htmlView"_s); });
    expect(u"1.2.5 is installed"_s, [] { return reads(u"currentVersionLabel"_s, u"1.2.5"_s); });
    expect(u"1.2.6 is published"_s, [] { return reads(u"updateVersionLabel"_s, u"1.2.6"_s); });
    expect(u"the button reads Update"_s, [] { return buttonReads(u"Update"_s); });
    savePicture(windowNamed(u"MainWindow"_s), u"2-update-available"_s);
    done(u"login: the account page, and the button reads \"Update\""_s);
}

void Tour::update()
{
    VendorAnswer half;
    half.contentType = "application/zip";
    half.body = m_world.pack();
    half.pieces = {half.body.size() * 6 / 10};
    half.stepped = true;
    m_world.vendor().queueAnswer("/api/dlGuide", half);

    control<QAbstractButton>(u"mainButton"_s)->click();
    expect(u"the bar has moved"_s, [] { return control<QProgressBar>(u"progressIndicator"_s)->value() >= 50; });
    expect(u"the status tells of the download"_s, [] { return reads(u"statusLabel"_s, u"Downloading..."_s); });
    expect(u"the button waits"_s, [] { return !control<QAbstractButton>(u"mainButton"_s)->isEnabled(); });
    savePicture(windowNamed(u"MainWindow"_s), u"3-downloading"_s);
    m_world.vendor().step();

    expect(u"the update is installed"_s, [] { return reads(u"statusLabel"_s, u"Update Installed."_s); });
    expect(u"the button reads Play"_s, [] { return buttonReads(u"Play"_s); });
    expect(u"1.2.6 is installed"_s, [] { return reads(u"currentVersionLabel"_s, u"1.2.6"_s); });
    expect(u"the add-on folder holds 1.2.6"_s, [this] { return m_world.installedToc().contains("## Version: 1.2.6"); });
    savePicture(windowNamed(u"MainWindow"_s), u"4-ready-to-play"_s);
    done(u"update: downloaded, unpacked, installed, and the button reads \"Play\""_s);
}

void Tour::launch()
{
    control<QAbstractButton>(u"mainButton"_s)->click();
    expect(u"the launcher has started"_s, [this] { return m_world.wasLaunched(); });
    done(u"play: the launcher was started"_s);
    m_finished = true;
}

void Tour::expect(const QString &what, const std::function<bool()> &condition)
{
    const QDeadlineTimer limit(20s);
    while (!condition()) {
        if (limit.hasExpired()) {
            say("FAIL", u"expected: %1"_s.arg(what));
            std::_Exit(EXIT_FAILURE);
        }
        QEventLoop loop;
        QTimer::singleShot(15ms, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

void Tour::done(const QString &stage)
{
    say("ok  ", stage);
}

void Tour::savePicture(QWidget *window, const QString &name)
{
    const QString path = m_world.picture(name);
    expect(u"the picture %1"_s.arg(path), [&] { return window->grab().save(path); });
}
