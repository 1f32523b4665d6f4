#include "demo/TourGuide.h"

#include "demo/DemoWorld.h"

#include "controls/ElidedLabel.h"
#include "controls/Pane.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{
void say(const char *mark, const QString &text)
{
    std::printf("%s %s\n", mark, text.toLocal8Bit().constData());
    std::fflush(stdout);
}

QWidget *visibleWindow(const QString &layout)
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->objectName() == layout && window->isVisible())
            return window;
    }
    return nullptr;
}

// A text stands out from the page's ground, which is seen in its corner.
bool showsText(const QImage &page)
{
    const QImage image = page.convertToFormat(QImage::Format_Grayscale8);
    const int ground = *image.constScanLine(0);
    for (int y = 0; y < image.height(); ++y) {
        const uchar *line = image.constScanLine(y);
        if (std::any_of(line, line + image.width(), [ground](uchar grey) { return std::abs(grey - ground) > 80; }))
            return true;
    }
    return false;
}
} // namespace

TourGuide::TourGuide(DemoWorld &world) : m_world(world) { }

void TourGuide::expect(const QString &what, const std::function<bool()> &condition) const
{
    const QDeadlineTimer limit(20s);
    while (!condition()) {
        if (limit.hasExpired())
            fail(what);
        QEventLoop loop;
        QTimer::singleShot(15ms, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

void TourGuide::expectText(const QString &label, const QString &text) const
{
    const auto *shown = control<ElidedLabel>(u"MainWindow"_s, label);
    expect(u"%1 reads \"%2\""_s.arg(label, text), [&] { return shown->text() == text; });
}

void TourGuide::expectMainButton(const QString &title) const
{
    const auto *button = control<QAbstractButton>(u"MainWindow"_s, u"mainButton"_s);
    expect(u"the button reads \"%1\""_s.arg(title), [&] { return button->isEnabled() && button->text() == title; });
}

QImage TourGuide::page(const QString &pane) const
{
    return control<Pane>(u"MainWindow"_s, pane)->grab().toImage();
}

// A web view is blank, still its old self, or drawn for its size before, for a moment after its page has loaded.
void TourGuide::expectPage(const QString &pane, const QImage &otherThan) const
{
    constexpr int AtRest = 6; // looks that see the same
    QImage before;
    int same = 0;
    expect(u"%1 shows its page"_s.arg(pane), [&] {
        const QImage drawn = page(pane);
        same = drawn == before ? same + 1 : 0;
        before = drawn;
        return same >= AtRest && drawn != otherThan && showsText(drawn);
    });
}

QWidget *TourGuide::window(const QString &layout) const
{
    expect(u"the window %1 is open"_s.arg(layout), [&] { return isOpen(layout); });
    return visibleWindow(layout);
}

bool TourGuide::isOpen(const QString &layout) const
{
    return visibleWindow(layout) != nullptr;
}

void TourGuide::press(const QString &layout, const QString &button) const
{
    QTest::mouseClick(control<QAbstractButton>(layout, button), Qt::LeftButton);
}

void TourGuide::type(const QString &layout, const QString &field, const QString &text) const
{
    auto *line = control<QLineEdit>(layout, field);
    line->selectAll();
    QTest::keyClicks(line, text);
}

// The press that raises an alert returns only when the alert is gone: hence a watch that was set before it.
void TourGuide::answerNextAlert(const QString &text, const QString &picture) const
{
    auto *watch = new QTimer(qApp);
    QObject::connect(watch, &QTimer::timeout, watch, [this, watch, text, picture] {
        auto *alert = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!alert || !alert->isVisible())
            return;
        watch->deleteLater();
        watch->stop();
        if (alert->text() != text)
            fail(u"the alert \"%1\" instead of \"%2\""_s.arg(text, alert->text()));
        if (!picture.isEmpty())
            savePicture(alert, picture);
        QTest::mouseClick(alert->defaultButton(), Qt::LeftButton);
    });
    watch->start(20ms);
}

void TourGuide::picture(const QString &layout, const QString &name) const
{
    savePicture(window(layout), name);
}

void TourGuide::savePicture(QWidget *of, const QString &name) const
{
    const QString path = m_world.picture(name);
    if (!of->grab().save(path))
        fail(u"the picture %1 is written"_s.arg(path));
}

void TourGuide::done(const QString &stage) const
{
    say("ok  ", stage);
}

void TourGuide::fail(const QString &what) const
{
    say("FAIL", u"expected: "_s + what);
    std::_Exit(EXIT_FAILURE);
}
