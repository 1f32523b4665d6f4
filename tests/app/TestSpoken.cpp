#include "support/Program.h"
#include "support/ScreenReader.h"

#include "controls/ElidedLabel.h"
#include "controls/Pane.h"
#include "places/Preferences.h"
#include "windows/ChangeLog.h"

#include <QLabel>
#include <QPushButton>

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace
{
QString nameOf(QWidget &widget)
{
    return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Name);
}

QString plain(QString text)
{
    return text.remove(u'&').simplified();
}

QString textOf(const QWidget &widget)
{
    const auto *elided = qobject_cast<const ElidedLabel *>(&widget); // whose text hides that of its base class
    return plain(elided ? elided->text() : widget.property("text").toString());
}

bool isInPane(const QWidget &widget)
{
    const QWidget *parent = widget.parentWidget();
    return parent && (qobject_cast<const Pane *>(parent) || isInPane(*parent));
}

QList<QWidget *> shownIn(const QWidget &window)
{
    QList<QWidget *> shown;
    for (QWidget *widget : window.findChildren<QWidget *>()) {
        const bool isOurs = !widget->objectName().isEmpty() && !widget->objectName().startsWith(u"qt_"_s);
        if (isOurs && widget->isVisible() && !isInPane(*widget))
            shown.append(widget);
    }
    return shown;
}

// Of a control without a text of its own: a caption, a heading or the title; what is only a picture says what it does.
bool isNamedByWhatIsSeen(QWidget &control, const QStringList &seen)
{
    return seen.contains(nameOf(control)) || (!nameOf(control).isEmpty() && !control.accessibleDescription().isEmpty());
}

void verifySpokenAsSeen(const QWidget &window)
{
    const QList<QWidget *> shown = shownIn(window);
    QStringList seen = {window.windowTitle()};
    for (const QWidget *widget : shown) {
        if (qobject_cast<const QLabel *>(widget))
            seen.append(textOf(*widget));
    }
    for (QWidget *widget : shown) {
        const QByteArray name = widget->objectName().toLocal8Bit();
        const char *const which = name.constData();
        const auto *label = qobject_cast<const QLabel *>(widget);
        if (label)
            QVERIFY2(nameOf(*widget) == textOf(*widget), which);
        else if (qobject_cast<const QAbstractButton *>(widget) && !textOf(*widget).isEmpty())
            QVERIFY2(nameOf(*widget).contains(textOf(*widget)), which);
        else if (widget->isEnabled() && widget->focusPolicy() & Qt::TabFocus)
            QVERIFY2(isNamedByWhatIsSeen(*widget, seen), which);
        if (label && label->buddy()) {
            const auto related = QAccessible::queryAccessibleInterface(label->buddy())->relations(QAccessible::Label);
            QVERIFY2(related.size() == 1 && related.constFirst().first->object() == label, which);
        }
    }
}

const QString launchFailed = u"Failed to launch World of Warcraft Launcher. Please check settings..."_s;
} // namespace

// The windows as somebody hears them who does not see them.
class TestSpoken : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { end(); }

    void everyControlIsSpokenAsItIsSeen();
    void everyStatusIsSpokenWhereTheKeyboardIs();
    void aStatusIsAnnouncedWhenTheKeyboardIsElsewhere();
    void aStatusThatComesAgainIsSpokenAgain();
    void aNewTitleIsSpoken();

private:
    QAbstractButton &mainButton() { return *m_program->control("mainButton"); }
    void press() { QTest::keyClick(delegate().window()->windowHandle(), Qt::Key_Space); }
    bool startAndListen();
    // Whether all the texts are spoken together, and once, when this is done. What comes within a moment of the
    // keyboard's coming is spoken with its place alone: hence it is done until something is heard.
    bool hears(
        const QStringList &texts, const std::function<void()> &deed = [] {});

    std::unique_ptr<ScreenReader> m_reader;
};

void TestSpoken::init()
{
    begin();
    m_world->installPack("1.2.5");
    m_world->defaults().setObject(Preferences::installPath.key, m_world->gameFolder());
    m_world->vendor().addAccount(u"rowan"_s, u"secret"_s, "<h1>Rowan</h1>");
    m_world->vendor().setPack(m_world->zip({{u"Trailbook/Trailbook.toc"_s, "## Version: 1.2.6\n"}}));
    storeAccount(u"rowan"_s, u"secret"_s);
}

bool TestSpoken::startAndListen()
{
    m_reader = std::make_unique<ScreenReader>();
    return m_program->start() && QTest::qWaitForWindowActive(delegate().window());
}

bool TestSpoken::hears(const QStringList &texts, const std::function<void()> &deed)
{
    qsizetype times = 0;
    const bool inTime = QTest::qWaitFor(
        [&] {
            deed();
            times = std::ranges::count_if(m_reader->spoken(), [&](const QString &utterance) {
                return std::ranges::all_of(texts, [&](const QString &text) { return utterance.contains(text); });
            });
            return times > 0;
        },
        10000);
    return inTime && times == 1;
}

void TestSpoken::everyControlIsSpokenAsItIsSeen()
{
    QVERIFY(m_program->start());
    QVERIFY(m_program->openSettings());
    delegate().getLogs();
    const QWidgetList windows = QApplication::topLevelWidgets();
    int visited = 0;
    for (const QWidget *window : windows) {
        const bool isOurs = window->isVisible() && shownIn(*window).size() > 1;
        visited += isOurs;
        if (isOurs)
            verifySpokenAsSeen(*window);
    }
    QCOMPARE(visited, 3); // the main window, the settings and the change log
}

void TestSpoken::everyStatusIsSpokenWhereTheKeyboardIs()
{
    if (!isHeardByTools())
        return;
    VendorAnswer slow;
    slow.body = m_world->zip({{u"Trailbook/Trailbook.toc"_s, "## Version: 1.2.6\n"}});
    slow.pieces = {1};
    slow.stepped = true;
    m_world->vendor().queueAnswer("/api/dlGuide", slow);
    QVERIFY(startAndListen());
    QVERIFY(hears({u"Update"_s, u"Logged in as rowan..."_s, u"Installed 1.2.5"_s, u"Published 1.2.6"_s}));
    press();
    QVERIFY(hears({u"Downloading..."_s}));
    m_world->vendor().step();
    QVERIFY(hears({u"Update Installed."_s}));
    QTRY_COMPARE(mainButton().accessibleDescription(), u"Update Installed. Installed 1.2.6, Published 1.2.6"_s);
}

void TestSpoken::aStatusIsAnnouncedWhenTheKeyboardIsElsewhere()
{
    if (!isHeardByTools())
        return;
    QVERIFY(startAndListen());
    for (const char *place : {"settingsButton", "button1", "mainButton"}) {
        m_program->control(place)->setFocus();
        storeAccount(u"rowan"_s, u"wrong"_s);
        QVERIFY(hears({u"Incorrect Login..."_s}, [this] { delegate().reLogin(); }));
    }
}

void TestSpoken::aStatusThatComesAgainIsSpokenAgain()
{
    if (!isHeardByTools())
        return;
    QVERIFY(startAndListen());
    delegate().setButtonText(u"Play"_s);
    mainButton().setFocus();
    for (int time = 0; time < 3; ++time)
        QVERIFY(hears({launchFailed}, [this] { press(); }));
}

void TestSpoken::aNewTitleIsSpoken()
{
    if (!isHeardByTools())
        return;
    QVERIFY(startAndListen());
    delegate().setButtonText(u"Play"_s);
    mainButton().setFocus();
    for (int time = 0; time < 2; ++time) // until the moment of the keyboard's coming is over
        QVERIFY(hears({launchFailed}, [this] { press(); }));
    QVERIFY(hears({u"Update"_s}, [this] { delegate().setButtonText(u"Update"_s); }));
}

QTEST_MAIN(TestSpoken)
#include "TestSpoken.moc"
