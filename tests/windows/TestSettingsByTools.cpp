#include "windows/SettingsWindow.h"

#include "support/TestWorld.h"

#include "places/Preferences.h"

#include <QAccessible>
#include <QCheckBox>
#include <QLineEdit>
#include <QTest>

using namespace Qt::StringLiterals;

// An assistive tool sends no key strokes and no clicks: it sets the controls themselves.
class TestSettingsByTools : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { delete m_window; }

    void aTextIsStored_data();
    void aTextIsStored();
    void aToggleIsStored();
    void fillingTheWindowStoresNothing();

private:
    template<typename Control> Control *control(const char *name) const
    {
        return m_window->findChild<Control *>(QString::fromLatin1(name));
    }

    std::unique_ptr<TestWorld> m_world;
    SettingsWindow *m_window = nullptr;
};

void TestSettingsByTools::init()
{
    m_world = std::make_unique<TestWorld>();
    m_window = new SettingsWindow(m_world->defaults(), nullptr);
    m_window->show();
}

void TestSettingsByTools::aTextIsStored_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<TextPreference>("preference");
    QTest::newRow("user name") << QByteArray("userNameField") << Preferences::userName;
    QTest::newRow("password") << QByteArray("passwordField") << Preferences::password;
}

void TestSettingsByTools::aTextIsStored()
{
    QFETCH(const QByteArray, field);
    QFETCH(const TextPreference, preference);
    QAccessibleInterface *tool = QAccessible::queryAccessibleInterface(control<QLineEdit>(field.constData()));
    tool->setText(QAccessible::Value, u"spoken"_s);
    QCOMPARE(preference.storedIn(m_world->defaults()), std::optional(u"spoken"_s));
}

void TestSettingsByTools::aToggleIsStored()
{
    QAccessibleInterface *tool = QAccessible::queryAccessibleInterface(control<QCheckBox>("autoLaunchBox"));
    for (const bool on : {true, false}) {
        tool->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        QCOMPARE(Preferences::autoLaunch.in(m_world->defaults()), on);
    }
}

void TestSettingsByTools::fillingTheWindowStoresNothing()
{
    const QByteArray values = R"({"wayfaruser": "rowan", "wayfarpasswd": "secret", "autoLaunch": true})";
    m_world->write(m_world->path(u"etc/WayfarInstaller/preferences.json"_s), values); // below the user's own
    UserDefaults defaults;
    const QJsonObject before = defaults.dictionaryRepresentation();
    const QByteArray file = m_world->read(m_world->preferencesFile());
    SettingsWindow window(defaults, nullptr);
    QCOMPARE(window.findChild<QLineEdit *>(u"userNameField"_s)->text(), u"rowan"_s);
    QVERIFY(window.findChild<QCheckBox *>(u"autoLaunchBox"_s)->isChecked());
    for (QLineEdit *field : window.findChildren<QLineEdit *>()) {
        const QSignalBlocker isNotStored(field);
        field->clear();
    }
    {
        auto *box = window.findChild<QCheckBox *>(u"autoLaunchBox"_s);
        const QSignalBlocker isNotStored(box);
        box->setChecked(false);
    }
    window.showStored(); // changes every control
    QCOMPARE(window.findChild<QLineEdit *>(u"passwordField"_s)->text(), u"secret"_s);
    QVERIFY(window.findChild<QCheckBox *>(u"autoLaunchBox"_s)->isChecked());
    QCOMPARE(m_world->read(m_world->preferencesFile()), file);
    QCOMPARE(defaults.dictionaryRepresentation(), before);
}

QTEST_MAIN(TestSettingsByTools)
#include "TestSettingsByTools.moc"
