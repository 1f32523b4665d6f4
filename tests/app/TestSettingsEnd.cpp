#include "controls/WayfarNSButton.h"
#include "windows/OpenPanel.h"
#include "places/Preferences.h"
#include "windows/SettingsWindow.h"
#include "support/Modal.h"
#include "support/Program.h"

#include "controls/AlertWindow.h"
#include <QDir>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>

using namespace Qt::StringLiterals;

// The settings window goes while something of it is still open: its own dialog, or an alert, which is the real one
// here.
class TestSettingsEnd : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theEndOfTheProgramChangesNothing();
    void theEndOfTheProgramClosesAnOpenDialogToo_data();
    void theEndOfTheProgramClosesAnOpenDialogToo();
    void itMayCloseWhileTheAlertOfARepairIsOpen();
    void itMayCloseWhileItsDialogIsOpen();

private:
    QWidget *control(const QString &name) const { return m_delegate->settingsWindow()->findChild<QWidget *>(name); }
    void press(const QString &button) const
    {
        control(button)->setFocus();
        QTest::keyClick(control(button), Qt::Key_Space);
    }

    std::unique_ptr<TestWorld> m_world;
    StandIns m_standIns;
    AlertWindow m_alert;
    std::unique_ptr<AppDelegate> m_delegate;
};

void TestSettingsEnd::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->goOffline();
    m_world->defaults().setObject(Preferences::userName.key, u"a"_s);
    m_delegate = std::make_unique<AppDelegate>(m_standIns.surroundings(*m_world, m_world->defaults(), m_alert));
    m_delegate->openSettings();
    QVERIFY(QTest::qWaitForWindowActive(m_delegate->settingsWindow()));
    QTest::keyClicks(control(u"userNameField"_s), u"b"_s);
}

void TestSettingsEnd::cleanup()
{
    delete m_delegate->settingsWindow();
    m_delegate.reset();
}

void TestSettingsEnd::theEndOfTheProgramChangesNothing()
{
    const QByteArray before = m_world->read(m_world->preferencesFile());
    const QPointer<SettingsWindow> window = m_delegate->settingsWindow();
    QTimer::singleShot(0, this, [] { QCoreApplication::quit(); });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(!m_delegate->settingsWindow());
    QTRY_VERIFY(!window);
    QCOMPARE(m_world->read(m_world->preferencesFile()), before);
    QCOMPARE(m_world->defaults().stringForKey(Preferences::userName.key), u"ab"_s);
}

void TestSettingsEnd::theEndOfTheProgramClosesAnOpenDialogToo_data()
{
    QTest::addColumn<QString>("button");
    QTest::newRow("the folder dialog") << u"installPathButton"_s;
    QTest::newRow("the launcher dialog") << u"launchPathButton"_s;
    QTest::newRow("the alert of a repair") << u"repairButton"_s;
    QTest::newRow("the alert of a detection") << u"detectButton"_s;
}

void TestSettingsEnd::theEndOfTheProgramClosesAnOpenDialogToo()
{
    QFETCH(const QString, button);
    const QByteArray before = m_world->read(m_world->preferencesFile());
    const QPointer<SettingsWindow> window = m_delegate->settingsWindow();
    bool opened = false;
    QTimer::singleShot(0, this, [&] {
        const WhenOpen<QDialog> dialog([&](QDialog &) {
            QCoreApplication::quit();
            QTRY_VERIFY(!window); // before the dialog's own call returns
        });
        press(button);
        opened = dialog.opened();
    });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(opened);
    QVERIFY(!m_delegate->settingsWindow());
    QTRY_VERIFY(!window);
    QCOMPARE(m_world->read(m_world->preferencesFile()), before);
}

void TestSettingsEnd::itMayCloseWhileTheAlertOfARepairIsOpen()
{
    const QPointer<SettingsWindow> window = m_delegate->settingsWindow();
    m_delegate->setButtonText(u"before"_s);
    const WhenOpen<QMessageBox> alert([&](QMessageBox &) {
        m_delegate->settingsWindow()->close();
        QTRY_VERIFY(!window);
    });
    press(u"repairButton"_s);
    QVERIFY(alert.opened());
    QCOMPARE(m_delegate->buttonText(), u"Update"_s); // the repair went on to its end
    QVERIFY(!m_delegate->settingsWindow());
}

void TestSettingsEnd::itMayCloseWhileItsDialogIsOpen()
{
    const QByteArray before = m_world->read(m_world->preferencesFile());
    const QPointer<SettingsWindow> window = m_delegate->settingsWindow();
    const WhenOpen<OpenPanel> dialog([&](OpenPanel &) {
        m_delegate->settingsWindow()->close();
        QTRY_VERIFY(!window);
    });
    press(u"launchPathButton"_s);
    QVERIFY(dialog.opened());
    QVERIFY(!m_delegate->settingsWindow());
    QCOMPARE(m_world->read(m_world->preferencesFile()), before);
}

QTEST_MAIN(TestSettingsEnd)
#include "TestSettingsEnd.moc"
