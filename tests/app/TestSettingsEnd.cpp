#include "support/Modal.h"
#include "support/Program.h"

#include "controls/AlertWindow.h"
#include "places/Preferences.h"
#include "windows/OpenPanel.h"

#include <QMessageBox>
#include <QPointer>

using namespace Qt::StringLiterals;

// The settings window goes while something of it is still open: its own dialog, or an alert, which is the real one
// here.
class TestSettingsEnd : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { end(); }

    void theEndOfTheProgramChangesNothing();
    void theEndOfTheProgramClosesAnOpenDialogToo_data();
    void theEndOfTheProgramClosesAnOpenDialogToo();
    void itMayCloseWhileTheAlertOfARepairIsOpen();
    void itMayCloseWhileItsDialogIsOpen();

private:
    QByteArray stored() const { return m_world->read(m_world->preferencesFile()); }

    AlertWindow m_alert;
};

void TestSettingsEnd::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->goOffline();
    m_world->defaults().setObject(Preferences::userName.key, u"a"_s);
    m_program = std::make_unique<Program>(*m_world, &m_alert);
    QVERIFY(m_program->openSettings());
    QTest::keyClicks(m_program->settingsControl("userNameField"), u"b"_s);
}

void TestSettingsEnd::theEndOfTheProgramChangesNothing()
{
    const QByteArray before = stored();
    const QPointer<SettingsWindow> window = delegate().settingsWindow();
    QTimer::singleShot(0, this, [] { QCoreApplication::quit(); });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(!delegate().settingsWindow());
    QTRY_VERIFY(!window);
    QCOMPARE(stored(), before);
    QCOMPARE(m_world->defaults().stringForKey(Preferences::userName.key), u"ab"_s);
}

void TestSettingsEnd::theEndOfTheProgramClosesAnOpenDialogToo_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::newRow("the folder dialog") << QByteArray("installPathButton");
    QTest::newRow("the launcher dialog") << QByteArray("launchPathButton");
    QTest::newRow("the alert of a repair") << QByteArray("repairButton");
    QTest::newRow("the alert of a detection") << QByteArray("detectButton");
}

void TestSettingsEnd::theEndOfTheProgramClosesAnOpenDialogToo()
{
    QFETCH(const QByteArray, button);
    const QByteArray before = stored();
    const QPointer<SettingsWindow> window = delegate().settingsWindow();
    bool opened = false;
    QTimer::singleShot(0, this, [&] {
        const WhenOpen<QDialog> dialog([&](QDialog &) {
            QCoreApplication::quit();
            QTRY_VERIFY(!window); // before the dialog's own call returns
        });
        m_program->pressInSettings(button.constData());
        opened = dialog.opened();
    });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(opened);
    QVERIFY(!delegate().settingsWindow());
    QTRY_VERIFY(!window);
    QCOMPARE(stored(), before);
}

void TestSettingsEnd::itMayCloseWhileTheAlertOfARepairIsOpen()
{
    const QPointer<SettingsWindow> window = delegate().settingsWindow();
    delegate().setButtonText(u"before"_s);
    const WhenOpen<QMessageBox> alert([&](QMessageBox &) {
        delegate().settingsWindow()->close();
        QTRY_VERIFY(!window);
    });
    m_program->pressInSettings("repairButton");
    QVERIFY(alert.opened());
    QCOMPARE(delegate().buttonText(), u"Update"_s); // the repair went on to its end
    QVERIFY(!delegate().settingsWindow());
}

void TestSettingsEnd::itMayCloseWhileItsDialogIsOpen()
{
    const QByteArray before = stored();
    const QPointer<SettingsWindow> window = delegate().settingsWindow();
    const WhenOpen<OpenPanel> dialog([&](OpenPanel &) {
        delegate().settingsWindow()->close();
        QTRY_VERIFY(!window);
    });
    m_program->pressInSettings("launchPathButton");
    QVERIFY(dialog.opened());
    QVERIFY(!delegate().settingsWindow());
    QCOMPARE(stored(), before);
}

QTEST_MAIN(TestSettingsEnd)
#include "TestSettingsEnd.moc"
