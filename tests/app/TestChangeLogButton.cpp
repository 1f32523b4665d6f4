#include "support/Answers.h"
#include "support/Program.h"

#include "windows/ChangeLog.h"
#include "windows/LogWindow.h"

#include <QAction>
#include <QPlainTextEdit>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace
{
const QByteArray path = "/api/changelog";

QList<LogWindow *> openLogs()
{
    QList<LogWindow *> windows;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (auto *log = qobject_cast<LogWindow *>(window); log && log->isVisible())
            windows.append(log);
    }
    return windows;
}

QString shown()
{
    return openLogs().constFirst()->findChild<QPlainTextEdit *>(u"textView"_s)->toPlainText();
}
} // namespace

// The change log as the player asks for it, in the running program.
class TestChangeLogButton : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { end(); }

    void eachWayOfAskingShowsTheChangeLog();
    void eachPressFetchesIntoAWindowOfItsOwn();
    void aFailureIsNotReported();
    void closingTheWindowLeavesTheProgramRunning();

private:
    void press() { m_program->click("changeLogButton"); }
};

void TestChangeLogButton::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->vendor().setChangeLog("first");
    m_program = std::make_unique<Program>(*m_world);
    QVERIFY(m_program->start());
}

void TestChangeLogButton::eachWayOfAskingShowsTheChangeLog()
{
    QVERIFY(!delegate().log());
    QVERIFY(m_world->vendor().requests(path).isEmpty());
    QVERIFY(openLogs().isEmpty());
    const std::function<void()> ways[] = {
        [this] { press(); }, [this] { delegate().window()->findChild<QAction *>(u"changeLogAction"_s)->trigger(); }};
    for (const auto &ask : ways) {
        ask();
        QCOMPARE(openLogs(), QList<LogWindow *>{delegate().log()->window()});
        QCOMPARE(shown(), u"first"_s);
        QVERIFY(delegate().window()->isVisible());
        delegate().log()->window()->close();
    }
}

void TestChangeLogButton::eachPressFetchesIntoAWindowOfItsOwn()
{
    press();
    const QPointer<LogWindow> first = delegate().log()->window();
    m_world->vendor().setChangeLog("second");
    press();
    QVERIFY(delegate().log()->window() != first);
    QCOMPARE(openLogs(), QList<LogWindow *>{delegate().log()->window()});
    QCOMPARE(shown(), u"second"_s);
    QCOMPARE(m_world->vendor().requests(path).size(), 2);
    QTRY_VERIFY(!first);
    m_world->vendor().setChangeLog("Caf\u00e9"); // nothing that could be shown, and nothing of before
    press();
    QCOMPARE(shown(), QString());
    m_program.reset();
    QVERIFY(openLogs().isEmpty());
}

void TestChangeLogButton::aFailureIsNotReported()
{
    m_world->vendor().setAnswer(path, brokenOff());
    const auto status = delegate().statusStr();
    const QByteArray log = standardErrorOf([this] { press(); });
    QVERIFY2(!log.contains("reset") && !log.contains("changelog"), log.constData());
    QCOMPARE(openLogs().size(), 1);
    QCOMPARE(shown(), QString());
    QVERIFY(m_program->alert.shown.isEmpty());
    QCOMPARE(delegate().statusStr(), status);
}

void TestChangeLogButton::closingTheWindowLeavesTheProgramRunning()
{
    press();
    delegate().log()->window()->close();
    QVERIFY(openLogs().isEmpty());
    QVERIFY(delegate().log());
    QVERIFY(!delegate().log()->window());
    QVERIFY(delegate().window()->isVisible());
    QCOMPARE(m_program->terminations, 0);
    press();
    QCOMPARE(shown(), u"first"_s);
}

QTEST_MAIN(TestChangeLogButton)
#include "TestChangeLogButton.moc"
