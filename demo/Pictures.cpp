#include "demo/Pictures.h"

#include "demo/DemoWorld.h"

#include "controls/Theme.h"
#include "windows/InstallerDownloadWindow.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QMessageBox>
#include <QPainter>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
const QString mainLayout = u"MainWindow"_s;
const QString settingsLayout = u"SettingsWindow"_s;

void useFont(int points)
{
    QFont font = QApplication::font();
    font.setPointSize(points);
    QApplication::setFont(font);
}

// Calls it with the dialog that opens next, when it is on the screen.
void whenDialogOpens(QObject *context, const std::function<void(QDialog *)> &look)
{
    auto *watch = new QTimer(context);
    QObject::connect(watch, &QTimer::timeout, context, [watch, look] {
        auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible())
            return;
        watch->stop();
        watch->deleteLater();
        look(dialog);
    });
    watch->start(20ms);
}
} // namespace

Pictures::Pictures(DemoWorld &world, const Look &look) : m_world(world), m_look(look), m_guide(world)
{
    QDir().mkpath(look.folder);
    if (look.points > 0)
        useFont(look.points);
    Theme::setDarkPreferred(look.dark);
    if (look.longTexts)
        world.useLongTexts();
    if (look.firstEvening)
        world.forgetPreferences();
    world.vendor().setInstallerVersion("1.3.0"); // for the question
}

void Pictures::take()
{
    QTimer::singleShot(0, this, [this] {
        startUp();
        mainWindow();
        if (!m_look.firstEvening)
            update();
        failure();
        settings();
        otherWindows();
        m_guide.window(mainLayout)->close();
    });
    whenDialogOpens(this, [this](QDialog *question) {
        picture(u"1 splash and question"_s);
        for (QPushButton *button : question->findChildren<QPushButton *>()) {
            if (button->text().contains(u"NO"_s))
                button->click();
        }
    });
}

void Pictures::startUp()
{
    QWidget *window = m_guide.window(mainLayout);
    if (m_look.size.isValid())
        window->resize(m_look.size);
}

void Pictures::mainWindow()
{
    m_guide.expectPage(u"htmlView"_s);
    m_guide.expectPage(u"rssView"_s);
    picture(u"2 main window"_s);
    for (const QString &focused : {u"htmlView"_s, u"button1"_s}) {
        m_guide.control<QWidget>(mainLayout, focused)->setFocus();
        picture(u"3 the keyboard in "_s + focused);
    }
}

void Pictures::update()
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
    picture(u"4 downloading"_s);
    m_world.vendor().step();
    m_guide.expectText(u"statusLabel"_s, u"Update Installed."_s);
    picture(u"5 installed"_s);
}

void Pictures::failure()
{
    if (!m_look.longTexts)
        return;
    m_guide.control<QPushButton>(mainLayout, u"mainButton"_s)->setText(u"Play"_s);
    m_guide.press(mainLayout, u"mainButton"_s);
    picture(u"6 failed to launch"_s);
}

void Pictures::settings()
{
    m_guide.press(mainLayout, u"settingsButton"_s);
    m_guide.window(settingsLayout);
    picture(u"7 settings"_s);
    dialog(settingsLayout, u"installPathButton"_s, u"8 choose game folder"_s);
    dialog(settingsLayout, u"launchPathButton"_s, u"9 choose launcher"_s);
    dialog(settingsLayout, u"repairButton"_s, u"10 alert"_s);
    m_guide.press(settingsLayout, u"cancelButton"_s);
}

void Pictures::otherWindows()
{
    m_guide.press(mainLayout, u"changeLogButton"_s);
    const auto *text = m_guide.control<QPlainTextEdit>(u"LogWindow"_s, u"textView"_s);
    m_guide.expect(u"the change log is shown"_s, [&] { return !text->toPlainText().isEmpty(); });
    picture(u"11 change log"_s);
    m_guide.window(u"LogWindow"_s)->close();

    m_guide.control<QAction>(mainLayout, u"aboutAction"_s)->trigger();
    m_guide.window(u"AboutWindow"_s);
    picture(u"12 about"_s);
    m_guide.window(u"AboutWindow"_s)->close();

    InstallerDownloadWindow download;
    download.showText(u"Downloading WayfarRoutes_1.3.0.zip"_s);
    download.showProgress(42);
    download.present();
    picture(u"13 installer download"_s);
}

void Pictures::dialog(const QString &layout, const QString &button, const QString &name)
{
    whenDialogOpens(this, [this, name](QDialog *dialog) {
        picture(name);
        dialog->reject();
    });
    m_guide.press(layout, button);
}

// In the order in which they lie: the first two are below all others, and a modal one is in front.
QList<QWidget *> Pictures::windowsFromBelow() const
{
    const auto height = [](const QWidget *window) {
        if (window == QApplication::activeModalWidget())
            return 2;
        return window->objectName() == mainLayout || window->objectName() == u"SplashScreen" ? 0 : 1;
    };
    QList<QWidget *> windows;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && window->windowType() != Qt::ToolTip)
            windows.append(window);
    }
    std::stable_sort(windows.begin(), windows.end(),
                     [height](const QWidget *one, const QWidget *other) { return height(one) < height(other); });
    return windows;
}

void Pictures::picture(const QString &name) const
{
    QCoreApplication::processEvents(); // what is still to be laid out
    const QList<QWidget *> windows = windowsFromBelow();
    QRect shown;
    for (const QWidget *window : windows)
        shown |= window->geometry().marginsAdded(QMargins() + 1);
    const qreal ratio = windows.constFirst()->devicePixelRatio();
    QImage image((QSizeF(shown.size()) * ratio).toSize(), QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(QColor(u"#808890"_s)); // the desktop
    QPainter painter(&image);
    painter.translate(-shown.topLeft());
    for (QWidget *window : windows) {
        painter.fillRect(window->geometry().marginsAdded(QMargins() + 1), QColor(u"#404448"_s)); // the desktop's frame
        painter.drawPixmap(window->geometry().topLeft(), window->grab());
    }
    painter.end();
    if (!image.save(m_look.folder + u'/' + name + u".png"_s))
        m_guide.fail(u"the picture %1 is written"_s.arg(name));
}
