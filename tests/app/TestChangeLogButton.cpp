#include "support/Program.h"

#include "windows/ChangeLog.h"
#include "windows/LogWindow.h"

#include <QAction>
#include <QApplication>
#include <QPlainTextEdit>
#include <QPointer>
#include <QTest>

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
class TestChangeLogButton : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void nothingIsFetchedBeforeAPress();
    void eachWayOfAskingShowsTheChangeLog_data();
    void eachWayOfAskingShowsTheChangeLog();
    void twoPressesLeaveOneWindowAndMakeTwoFetches();
    void eachPressStartsWithoutTheTextOfBefore();
    void aFailureIsNotReported();
    void closingTheWindowLeavesTheProgramRunning();
    void theWindowGoesWithTheProgram();

private:
    AppDelegate &delegate() { return m_program->delegate; }
    void press() { QTest::mouseClick(m_program->control("changeLogButton"), Qt::LeftButton); }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Program> m_program;
};

void TestChangeLogButton::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->vendor().setChangeLog("first");
    m_program = std::make_unique<Program>(*m_world);
    QVERIFY(m_program->start());
}

void TestChangeLogButton::cleanup()
{
    m_program.reset();
    m_world.reset();
}

void TestChangeLogButton::nothingIsFetchedBeforeAPress()
{
    QVERIFY(!delegate().log());
    QVERIFY(m_world->vendor().requests(path).isEmpty());
    QVERIFY(openLogs().isEmpty());
}

void TestChangeLogButton::eachWayOfAskingShowsTheChangeLog_data()
{
    QTest::addColumn<bool>("fromTheMenu");
    QTest::newRow("the button") << false;
    QTest::newRow("the menu") << true;
}

void TestChangeLogButton::eachWayOfAskingShowsTheChangeLog()
{
    QFETCH(const bool, fromTheMenu);
    if (fromTheMenu)
        delegate().window()->findChild<QAction *>(u"changeLogAction"_s)->trigger();
    else
        press();
    QCOMPARE(openLogs().size(), 1);
    QCOMPARE(openLogs().constFirst(), delegate().log()->window());
    QCOMPARE(shown(), u"first"_s);
    QVERIFY(delegate().window()->isVisible());
}

void TestChangeLogButton::twoPressesLeaveOneWindowAndMakeTwoFetches()
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
}

void TestChangeLogButton::eachPressStartsWithoutTheTextOfBefore()
{
    press();
    QCOMPARE(shown(), u"first"_s);
    m_world->vendor().setChangeLog("Caf\u00e9");
    press();
    QCOMPARE(shown(), QString());
    QCOMPARE(delegate().log()->text(), std::nullopt);
}

void TestChangeLogButton::aFailureIsNotReported()
{
    VendorAnswer cut;
    cut.body = "first";
    cut.resetAfter = 2;
    m_world->vendor().setAnswer(path, cut);
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

void TestChangeLogButton::theWindowGoesWithTheProgram()
{
    press();
    m_program.reset();
    QVERIFY(openLogs().isEmpty());
}

QTEST_MAIN(TestChangeLogButton)
#include "TestChangeLogButton.moc"
