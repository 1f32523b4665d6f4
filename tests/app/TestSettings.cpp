#include "controls/ElidedLabel.h"
#include "places/Preferences.h"
#include "support/Program.h"

#include <QJsonDocument>
#include <QLineEdit>
#include <QPointer>

using namespace Qt::StringLiterals;

// Opening, OK, Cancel and closing, with the real window and by keyboard.
class TestSettings : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init() { begin(); }
    void cleanup() { end(); }

    void itOpensBesideTheMainWindow();
    void aSecondOpeningBringsTheSameWindow();
    void theSnapshotHoldsEveryVisibleKeyAndBecomesTheUsersOwn();
    void cancelPutsTheSnapshotBack_data();
    void cancelPutsTheSnapshotBack();
    void cancelKeepsAKeyThatIsNew();
    void cancelWithAnEmptySnapshotOnlyCloses();
    void cancelAfterASecondOpeningKeepsTheEditsBeforeIt();
    void theTitleBarKeepsEveryEditWithoutALogin();
    void afterClosingItIsLoadedAnew();
    void okLogsInWithWhatWasTypedAndThenCloses();
    void okClosesWhateverComesOfTheLogin_data();
    void okClosesWhateverComesOfTheLogin();

private:
    SettingsWindow *window() const { return delegate().settingsWindow(); }
    void type(const char *field, const QString &text) const
    {
        m_program->settingsControl(field)->setFocus();
        QTest::keyClicks(m_program->settingsControl(field), text);
    }
    QJsonObject usersOwn() const { return QJsonDocument::fromJson(m_world->read(m_world->preferencesFile())).object(); }
};

void TestSettings::itOpensBesideTheMainWindow()
{
    m_world->vendor();
    QVERIFY(m_program->start());
    m_program->click("settingsButton");
    QVERIFY(QTest::qWaitForWindowActive(window()));
    QVERIFY(!window()->isModal());
    QVERIFY(delegate().window()->isVisible());
    const QPoint offset = window()->frameGeometry().center() - window()->screen()->availableGeometry().center();
    QVERIFY2(offset.manhattanLength() <= 10, // the frame, unknown before it shows
             qPrintable(u"%1 %2"_s.arg(offset.x()).arg(offset.y())));
    QTRY_COMPARE(QApplication::focusWidget(), m_program->settingsControl("userNameField"));
}

void TestSettings::aSecondOpeningBringsTheSameWindow()
{
    QVERIFY(m_program->openSettings());
    const SettingsWindow *const first = window();
    window()->move(0, 0);
    window()->showMinimized();
    QVERIFY(m_program->openSettings());
    QCOMPARE(window(), first);
    QVERIFY(!window()->isMinimized());
    QVERIFY(window()->pos() != QPoint(0, 0));
}

void TestSettings::theSnapshotHoldsEveryVisibleKeyAndBecomesTheUsersOwn()
{
    m_world->write(m_world->path(u"etc/WayfarInstaller/preferences.json"_s),
                   R"({"wayfaruser": "site", "other": true})");
    UserDefaults defaults;
    defaults.setObject(u"unknown"_s, u"kept"_s);
    AppDelegate delegate(m_program->surroundings(*m_world, defaults));
    QCOMPARE(delegate.settingsOldValue(), QJsonObject());
    delegate.openSettings();
    QCOMPARE(delegate.settingsOldValue(),
             (QJsonObject{{u"installPath"_s, m_world->gameFolder()},
                          {u"other"_s, true},
                          {u"unknown"_s, u"kept"_s},
                          {u"wayfaruser"_s, u"site"_s}}));
    QVERIFY(!usersOwn().contains(u"other"_s));
    delegate.settingsWindow()->close();
    delegate.cancelSettings();
    QCOMPARE(usersOwn(), delegate.settingsOldValue()); // the system-wide values too
}

void TestSettings::cancelPutsTheSnapshotBack_data()
{
    QTest::addColumn<bool>("byEscape");
    QTest::newRow("by the button") << false;
    QTest::newRow("by Escape") << true;
}

void TestSettings::cancelPutsTheSnapshotBack()
{
    QFETCH(const bool, byEscape);
    const QJsonObject before = {{u"installPath"_s, m_world->gameFolder()},
                                {u"launchPath"_s, u"/l"_s},
                                {u"autoLaunch"_s, false},
                                {u"wayfaruser"_s, u"anna"_s},
                                {u"wayfarpasswd"_s, u"secret"_s},
                                {u"loginFailed"_s, false}};
    for (auto entry = before.begin(); entry != before.end(); ++entry)
        m_world->defaults().setObject(entry.key(), entry.value());
    QVERIFY(m_program->openSettings());
    type("userNameField", u"x"_s);
    type("passwordField", u"y"_s);
    m_program->pressInSettings("autoLaunchBox");
    QCOMPARE(usersOwn().value(u"wayfaruser"_s), QJsonValue(u"annax"_s));
    QCOMPARE(usersOwn().value(u"autoLaunch"_s), QJsonValue(true));
    m_world->defaults().setObject(Preferences::launchPath.key, u"/elsewhere"_s);

    if (byEscape)
        QTest::keyClick(m_program->settingsControl("passwordField"), Qt::Key_Escape);
    else
        m_program->pressInSettings("cancelButton");
    QVERIFY(!window());
    QCOMPARE(usersOwn(), before);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(usersOwn(), before);
}

void TestSettings::cancelKeepsAKeyThatIsNew()
{
    QVERIFY(m_program->openSettings());
    type("passwordField", u"first"_s);
    m_world->defaults().setObject(Preferences::launchPath.key, u"/first"_s);
    m_program->pressInSettings("cancelButton");
    QCOMPARE(usersOwn(),
             (QJsonObject{{u"installPath"_s, m_world->gameFolder()},
                          {u"launchPath"_s, u"/first"_s},
                          {u"wayfarpasswd"_s, u"first"_s}}));
}

void TestSettings::cancelWithAnEmptySnapshotOnlyCloses()
{
    m_world->write(m_world->preferencesFile(), "{}");
    m_world->defaults().synchronize();
    QVERIFY(m_program->openSettings());
    m_program->pressInSettings("cancelButton");
    QVERIFY(!window());
    QCOMPARE(m_world->read(m_world->preferencesFile()), QByteArray("{}"));
}

void TestSettings::cancelAfterASecondOpeningKeepsTheEditsBeforeIt()
{
    m_world->defaults().setObject(Preferences::userName.key, u"a"_s);
    QVERIFY(m_program->openSettings());
    type("userNameField", u"b"_s);
    QVERIFY(m_program->openSettings());
    type("userNameField", u"c"_s);
    QCOMPARE(usersOwn().value(u"wayfaruser"_s), QJsonValue(u"abc"_s));
    m_program->pressInSettings("cancelButton");
    QCOMPARE(usersOwn().value(u"wayfaruser"_s), QJsonValue(u"ab"_s));
}

void TestSettings::theTitleBarKeepsEveryEditWithoutALogin()
{
    m_world->defaults().setObject(Preferences::userName.key, u"a"_s);
    m_world->vendor();
    delegate().setStatusStr(u"before"_s);
    QVERIFY(m_program->openSettings());
    type("userNameField", u"b"_s);
    window()->windowHandle()->close(); // as the desktop does it
    QVERIFY(!window());
    QCOMPARE(usersOwn().value(u"wayfaruser"_s), QJsonValue(u"ab"_s));
    QVERIFY(m_world->vendor().requests().isEmpty());
    QCOMPARE(delegate().statusStr(), u"before"_s);
    QCOMPARE(m_program->terminations, 0);
}

void TestSettings::afterClosingItIsLoadedAnew()
{
    QVERIFY(m_program->openSettings());
    const QPointer<SettingsWindow> first = window();
    window()->close();
    QVERIFY(!window());
    m_world->defaults().setObject(Preferences::userName.key, u"later"_s);
    QVERIFY(m_program->openSettings());
    QVERIFY(window() != first);
    QCOMPARE(m_program->settingsControl<QLineEdit>("userNameField")->text(), u"later"_s);
    QTRY_VERIFY(!first);
}

void TestSettings::okLogsInWithWhatWasTypedAndThenCloses()
{
    m_world->vendor().addAccount(u"anna"_s, u"pass word"_s, "<p>Welcome, Anna</p>");
    QVERIFY(m_program->start());
    m_world->vendor().clearRequests();
    QVERIFY(m_program->openSettings());
    type("userNameField", u"anna"_s);
    type("passwordField", u"pass word"_s);
    bool wasOpen = false;
    connect(&m_program->delegate, &AppDelegate::statusStrChanged, this, [&] { wasOpen = window(); });
    QTest::keyClick(m_program->settingsControl("passwordField"), Qt::Key_Return);

    QVERIFY(!window());
    QVERIFY(wasOpen);
    QCOMPARE(m_world->vendor().requests().size(), 1);
    QCOMPARE(m_world->vendor().requests("/api/dlCheckUser").size(), 1);
    QCOMPARE(m_world->read(m_world->supportFolder() + u"/account.html"_s), QByteArray("<p>Welcome, Anna</p>"));
    QCOMPARE(delegate().statusStr(), u"Logged in as anna..."_s);
    QCOMPARE(usersOwn().value(u"wayfarpasswd"_s), QJsonValue(u"pass word"_s));
}

void TestSettings::okClosesWhateverComesOfTheLogin_data()
{
    QTest::addColumn<QString>("user");
    QTest::addColumn<int>("logins");
    QTest::addColumn<QString>("status");
    QTest::newRow("a failure") << u"nobody"_s << 1 << u"Incorrect Login..."_s;
    QTest::newRow("none without a user name") << QString() << 0 << u"Logged in as (null)..."_s;
}

void TestSettings::okClosesWhateverComesOfTheLogin()
{
    QFETCH(const QString, user);
    QFETCH(const int, logins);
    m_world->vendor();
    QVERIFY(m_program->start());
    m_world->vendor().clearRequests();
    QVERIFY(m_program->openSettings());
    type("userNameField", user);
    m_program->pressInSettings("okButton");
    QVERIFY(!window());
    QCOMPARE(m_world->vendor().requests().size(), logins);
    QTEST(delegate().statusStr().value_or(QString()), "status");
    QCOMPARE(usersOwn().contains(u"loginFailed"_s), logins == 1);
    QVERIFY(m_program->alert.shown.isEmpty());
}

QTEST_MAIN(TestSettings)
#include "TestSettings.moc"
