#include "windows/SettingsWindow.h"

#include "controls/ElidedLabel.h"
#include "controls/Theme.h"
#include "places/Preferences.h"
#include "support/DarkDesktop.h"
#include "support/Files.h"
#include "support/TestWorld.h"

#include <QAccessible>
#include <QCheckBox>
#include <QClipboard>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QScopeGuard>
#include <QTest>

using namespace Qt::StringLiterals;

// The widget alone, by keyboard; it belongs to nobody and deletes itself.
class TestSettingsWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_world = std::make_unique<TestWorld>(); }
    void cleanup() { delete m_window; }

    void itOpensWithWhatIsStored();
    void itOpensOnEmptyPreferencesWithoutWriting();
    void everyEditOfAFieldIsStoredAtOnce_data();
    void everyEditOfAFieldIsStoredAtOnce();
    void theCheckBoxStoresABooleanAtOnce();
    void showingStoredValuesWritesNothing();
    void thePasswordIsHiddenUntilItIsAskedFor();
    void tabWalksFromTopToBottom();
    void namesSayWhatAControlIsFor();
    void labelsLeadToTheirFields();
    void theRepairButtonSaysWhatItDeletes();
    void whatRepairDeletesCanBeReadBesideIt();
    void whatIsWrongWithTheGameFolderIsToldBelowIt();
    void whatIsWrongWithTheLauncherIsToldBelowIt();
    void aPathsButtonTellsThePathAndWhatIsWrongWithIt();
    void hintsFollowWhatHappensMeanwhile();
    void nothingIsCut_data();
    void nothingIsCut();
    void buttonsReportTheirPress();
    void aBrowseButtonNamesItsPreference();
    void returnIsOkAndEscapeIsCancel();
    void returnOnAButtonPressesItAndNotOk();
    void theTitleBarOnlyCloses();
    void itFollowsAChangeToDarkAndBack();

private:
    void verifyNothingIsCut() const;
    void open();
    void store(const QString &installPath, const QString &launchPath = {})
    {
        m_world->defaults().setObject(Preferences::installPath.key, installPath);
        m_world->defaults().setObject(Preferences::launchPath.key, launchPath);
    }
    QString hint(const char *name) const // empty when it does not show
    {
        const auto *const label = control<QLabel>(QString::fromLatin1(name));
        return label->isVisible() ? label->text() : QString();
    }
    void pressByKey(const QString &button) const
    {
        control(button)->setFocus();
        QTest::keyClick(control(button), Qt::Key_Space);
    }
    template<typename Control = QPushButton> Control *control(const QString &name) const
    {
        return m_window->findChild<Control *>(name);
    }
    QJsonValue stored(const QString &key) const { return m_world->defaults().objectForKey(key); }
    QJsonValue onDisk(const QString &key) const
    {
        return QJsonDocument::fromJson(m_world->read(m_world->preferencesFile())).object().value(key);
    }

    std::unique_ptr<TestWorld> m_world;
    QPointer<SettingsWindow> m_window;
};

void TestSettingsWindow::open()
{
    m_window = new SettingsWindow(m_world->defaults(), nullptr);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowActive(m_window));
}

void TestSettingsWindow::itOpensWithWhatIsStored()
{
    m_world->storeAccount(u"anna"_s, u"secret"_s);
    m_world->defaults().setObject(Preferences::autoLaunch.key, true);
    const QString launcher = u"/a long way/"_s.repeated(30) + u"World of Warcraft Launcher.app"_s;
    m_world->defaults().setObject(Preferences::launchPath.key, launcher);
    open();
    QCOMPARE(control<QLineEdit>(u"userNameField"_s)->text(), u"anna"_s);
    QCOMPARE(control<QLineEdit>(u"passwordField"_s)->text(), u"secret"_s);
    QVERIFY(control<QCheckBox>(u"autoLaunchBox"_s)->isChecked());
    QCOMPARE(control<ElidedLabel>(u"installPathLabel"_s)->text(), m_world->gameFolder());
    QCOMPARE(control<ElidedLabel>(u"launchPathLabel"_s)->text(), launcher);
}

void TestSettingsWindow::itOpensOnEmptyPreferencesWithoutWriting()
{
    m_world->write(m_world->preferencesFile(), "{}");
    m_world->defaults().synchronize();
    open();
    QCOMPARE(control<QLineEdit>(u"userNameField"_s)->text(), QString());
    QCOMPARE(control<QLineEdit>(u"passwordField"_s)->text(), QString());
    QVERIFY(!control<QCheckBox>(u"autoLaunchBox"_s)->isChecked());
    QCOMPARE(control<ElidedLabel>(u"installPathLabel"_s)->text(), u"/Applications/World of Warcraft"_s);
    QCOMPARE(control<ElidedLabel>(u"launchPathLabel"_s)->text(), u"not chosen yet"_s);
    QCOMPARE(m_world->defaults().dictionaryRepresentation(), QJsonObject());
    QCOMPARE(m_world->read(m_world->preferencesFile()), QByteArray("{}"));
}

void TestSettingsWindow::everyEditOfAFieldIsStoredAtOnce_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("key");
    QTest::newRow("user name") << u"userNameField"_s << u"wayfaruser"_s;
    QTest::newRow("password") << u"passwordField"_s << u"wayfarpasswd"_s;
}

void TestSettingsWindow::everyEditOfAFieldIsStoredAtOnce()
{
    QFETCH(const QString, field);
    QFETCH(const QString, key);
    open();
    auto *const edit = control<QLineEdit>(field);
    edit->setFocus();
    QString typed;
    for (const QChar character : u" a&\"ü"_s) {
        QTest::sendKeyEvent(QTest::Click, edit, Qt::Key_unknown, QString(character), Qt::NoModifier);
        typed += character;
        QCOMPARE(stored(key), QJsonValue(typed));
        QCOMPARE(onDisk(key), QJsonValue(typed));
    }
    QTest::keyClick(edit, Qt::Key_Backspace);
    QCOMPARE(onDisk(key), QJsonValue(u" a&\""_s));
    edit->selectAll();
    QGuiApplication::clipboard()->setText(u"pasted"_s);
    QTest::keyClick(edit, Qt::Key_V, Qt::ControlModifier);
    QCOMPARE(onDisk(key), QJsonValue(u"pasted"_s));
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    QCOMPARE(onDisk(key), QJsonValue(QString())); // stored as empty, not removed
}

void TestSettingsWindow::theCheckBoxStoresABooleanAtOnce()
{
    open();
    auto *const box = control<QCheckBox>(u"autoLaunchBox"_s);
    box->setFocus();
    QTest::keyClick(box, Qt::Key_Space);
    QCOMPARE(onDisk(u"autoLaunch"_s), QJsonValue(true));
    QTest::keyClick(box, Qt::Key_Space);
    QCOMPARE(onDisk(u"autoLaunch"_s), QJsonValue(false));
}

void TestSettingsWindow::showingStoredValuesWritesNothing()
{
    open();
    UserDefaults elsewhere; // another process's
    elsewhere.setObject(Preferences::userName.key, u"berta"_s);
    elsewhere.setObject(Preferences::autoLaunch.key, true);
    m_world->defaults().synchronize();
    const QByteArray before = m_world->read(m_world->preferencesFile());
    m_window->showStored();
    QCOMPARE(control<QLineEdit>(u"userNameField"_s)->text(), u"berta"_s);
    QVERIFY(control<QCheckBox>(u"autoLaunchBox"_s)->isChecked());
    QCOMPARE(m_world->read(m_world->preferencesFile()), before);
}

void TestSettingsWindow::thePasswordIsHiddenUntilItIsAskedFor()
{
    m_world->storeAccount({}, u"secret"_s);
    open();
    const auto *const field = control<QLineEdit>(u"passwordField"_s);
    auto *const toggle = control(u"showPasswordButton"_s);
    QCOMPARE(field->echoMode(), QLineEdit::Password);
    QVERIFY(!field->displayText().contains(u's'));
    QCOMPARE(toggle->accessibleName(), u"Show password"_s);
    pressByKey(u"showPasswordButton"_s);
    QCOMPARE(field->displayText(), u"secret"_s);
    QCOMPARE(toggle->accessibleName(), u"Hide password"_s);
    QCOMPARE(toggle->text(), u"Hide"_s);
    QVERIFY(!QAccessible::queryAccessibleInterface(toggle)->state().checked); // "Hide password, pressed" would be shown
    pressByKey(u"showPasswordButton"_s);
    QCOMPARE(field->echoMode(), QLineEdit::Password);
    QCOMPARE(toggle->text(), u"Show"_s);
}

void TestSettingsWindow::tabWalksFromTopToBottom()
{
    open();
    const QStringList order = {
        u"userNameField"_s,    u"passwordField"_s, u"showPasswordButton"_s, u"installPathButton"_s, u"detectButton"_s,
        u"launchPathButton"_s, u"autoLaunchBox"_s, u"repairButton"_s,       u"okButton"_s,          u"cancelButton"_s};
    for (const QString &name : order) {
        QVERIFY(QApplication::focusWidget());
        QCOMPARE(QApplication::focusWidget()->objectName(), name);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    QCOMPARE(QApplication::focusWidget()->objectName(), order.first());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
    QCOMPARE(QApplication::focusWidget()->objectName(), order.last());
}

void TestSettingsWindow::namesSayWhatAControlIsFor()
{
    open();
    const QList<std::pair<QString, QString>> names = {{u"userNameField"_s, u"User name"_s},
                                                      {u"passwordField"_s, u"Password"_s},
                                                      {u"autoLaunchBox"_s, u"Start the game automatically"_s},
                                                      {u"installPathButton"_s, u"Choose game folder"_s},
                                                      {u"launchPathButton"_s, u"Choose launcher"_s},
                                                      {u"detectButton"_s, u"Detect"_s},
                                                      {u"repairButton"_s, u"Repair"_s},
                                                      {u"okButton"_s, u"OK"_s},
                                                      {u"cancelButton"_s, u"Cancel"_s}};
    for (const auto &[control, name] : names) {
        const auto *const widget = m_window->findChild<QWidget *>(control);
        QCOMPARE(widget->accessibleName(), name);
        if (const auto *const button = qobject_cast<const QAbstractButton *>(widget))
            QCOMPARE(button->text().remove(u'&'), name);
    }
}

void TestSettingsWindow::labelsLeadToTheirFields()
{
    open();
    const auto verify = [this](const QString &label, const QString &text, Qt::Key mnemonic, const QString &field) {
        control(u"okButton"_s)->setFocus();
        QCOMPARE(control<QLabel>(label)->text().remove(u'&'), text);
        QTest::keyClick(m_window, mnemonic, Qt::AltModifier);
        QVERIFY(control<QLineEdit>(field)->hasFocus());
    };
    verify(u"userNameLabel"_s, u"User name"_s, Qt::Key_U, u"userNameField"_s);
    verify(u"passwordLabel"_s, u"Password"_s, Qt::Key_P, u"passwordField"_s);
}

void TestSettingsWindow::theRepairButtonSaysWhatItDeletes()
{
    open();
    const QString tip = control(u"repairButton"_s)->toolTip();
    for (const QString &name : {u"\"Trailbook\""_s, u"\"Trailbook.lua\""_s, u"\"Trailbook.lua.bak\""_s})
        QVERIFY2(tip.contains(name), qPrintable(name));
}

void TestSettingsWindow::whatRepairDeletesCanBeReadBesideIt()
{
    open();
    const auto *const text = control<QLabel>(u"repairText"_s);
    QVERIFY(text->isVisible());
    for (const QString &word : {u"Deletes the add-on"_s, u"saved settings"_s, u"afresh"_s})
        QVERIFY2(text->text().contains(word), qPrintable(word));
    const QPushButton *const button = control(u"repairButton"_s);
    QVERIFY(button->geometry().top() < text->geometry().bottom()
            && text->geometry().top() < button->geometry().bottom());
}

void TestSettingsWindow::whatIsWrongWithTheGameFolderIsToldBelowIt()
{
    const QString game = m_world->gameFolder();
    open();
    QVERIFY(hint("installPathHint").contains(u"does not exist"_s));
    makeFolder(toPath(game));
    m_window->showStored();
    QVERIFY(hint("installPathHint").contains(u"no \"_retail_\""_s));
    makeFolder(toPath(game + u"/_retail_/Interface/Addons"_s));
    m_window->showStored();
    QVERIFY(hint("installPathHint").contains(u"\"Addons\""_s));
    QVERIFY(hint("installPathHint").contains(u"\"AddOns\""_s));
    QVERIFY(control<QLabel>(u"installPathHint"_s)->y() > control<QWidget>(u"installPathLabel"_s)->y());
    store(game + u"/none"_s);
    makeFolder(toPath(game + u"/none/_retail_"_s));
    m_window->showStored();
    QCOMPARE(hint("installPathHint"), QString());
}

void TestSettingsWindow::whatIsWrongWithTheLauncherIsToldBelowIt()
{
    const QString launcher = m_world->path(u"launcher"_s);
    open();
    QCOMPARE(hint("launchPathHint"), QString()); // the path itself says that none was chosen
    store(m_world->gameFolder(), launcher);
    m_window->showStored();
    QVERIFY(hint("launchPathHint").contains(u"no longer there"_s));
    makeFile(toPath(launcher), "#!/bin/sh\n", 0644);
    m_window->showStored();
    QVERIFY(hint("launchPathHint").contains(u"no program"_s));
    setMode(toPath(launcher), 0755);
    m_window->showStored();
    QCOMPARE(hint("launchPathHint"), QString());
}

void TestSettingsWindow::aPathsButtonTellsThePathAndWhatIsWrongWithIt()
{
    makeFile(toPath(m_world->path(u"launcher"_s)), "#!/bin/sh\n", 0755);
    open();
    const auto heard = [this](const char *button) {
        return QAccessible::queryAccessibleInterface(control(QString::fromLatin1(button)))
            ->text(QAccessible::Description);
    };
    QCOMPARE(heard("installPathButton"), m_world->gameFolder() + u". "_s + hint("installPathHint"));
    QCOMPARE(heard("launchPathButton"), u"not chosen yet"_s);
    store(m_world->gameFolder(), m_world->path(u"launcher"_s));
    m_window->showStored();
    QCOMPARE(heard("launchPathButton"), m_world->path(u"launcher"_s));
}

void TestSettingsWindow::hintsFollowWhatHappensMeanwhile()
{
    open();
    QVERIFY(!hint("installPathHint").isEmpty());
    makeFolder(toPath(m_world->gameFolder() + u"/_retail_"_s));
    QWidget another; // in front of it for a while
    another.show();
    QVERIFY(QTest::qWaitForWindowActive(&another));
    m_window->activateWindow();
    QTRY_COMPARE(hint("installPathHint"), QString());
}

void TestSettingsWindow::nothingIsCut_data()
{
    QTest::addColumn<int>("pointSize");
    for (const int size : {8, 10, 20})
        QTest::addRow("%d points", size) << size;
}

void TestSettingsWindow::nothingIsCut()
{
    QFETCH(const int, pointSize);
    const QFont before = QApplication::font();
    QFont font = before;
    font.setPointSize(pointSize);
    QApplication::setFont(font);
    const auto restore = qScopeGuard([before] { QApplication::setFont(before); });
    makeFolder(toPath(m_world->gameFolder() + u"/_retail_"_s));
    m_window = new SettingsWindow(m_world->defaults(), nullptr);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowActive(m_window));
    verifyNothingIsCut(); // as it opens
    m_window->resize(m_window->minimumSize());
    makeFolder(toPath(m_world->gameFolder() + u"/_retail_/Interface/Addons"_s));
    makeFile(toPath(m_world->path(u"launcher"_s))); // not executable
    store(m_world->gameFolder(), m_world->path(u"launcher"_s));
    m_window->showStored();
    QVERIFY(!hint("installPathHint").isEmpty() && !hint("launchPathHint").isEmpty());
    QTRY_VERIFY(m_window->findChild<QLabel *>(u"launchPathHint"_s)->height() > 0);
    QCoreApplication::processEvents(); // lays out
    verifyNothingIsCut();
}

void TestSettingsWindow::verifyNothingIsCut() const
{
    for (const QLabel *label : m_window->findChildren<QLabel *>()) {
        const int needed =
            label->wordWrap() ? label->heightForWidth(label->width()) : label->minimumSizeHint().height();
        QVERIFY2(!label->isVisible() || label->height() >= needed, qPrintable(label->objectName()));
    }
    for (const QAbstractButton *button : m_window->findChildren<QAbstractButton *>()) {
        const QSize needed = button->minimumSizeHint();
        QVERIFY2(button->width() >= needed.width() && button->height() >= needed.height(),
                 qPrintable(button->objectName()));
    }
}

void TestSettingsWindow::buttonsReportTheirPress()
{
    open();
    const QList<std::pair<QString, QByteArray>> signalsOf = {{u"detectButton"_s, SIGNAL(detectPressed())},
                                                             {u"repairButton"_s, SIGNAL(repairPressed())},
                                                             {u"okButton"_s, SIGNAL(okayPressed())},
                                                             {u"cancelButton"_s, SIGNAL(cancelPressed())}};
    for (const auto &[button, signal] : signalsOf) {
        const QSignalSpy presses(m_window, signal.constData());
        pressByKey(button);
        QCOMPARE(presses.size(), 1);
        QVERIFY(m_window->isVisible()); // what follows is the owner's business
    }
}

void TestSettingsWindow::aBrowseButtonNamesItsPreference()
{
    open();
    for (const QString &key : {u"installPath"_s, u"launchPath"_s}) {
        const QSignalSpy presses(m_window, &SettingsWindow::browsePressed);
        pressByKey(key + u"Button"_s);
        QCOMPARE(presses.size(), 1);
        QCOMPARE(presses.first().first().value<QObject *>()->property("buttonType").toString(), key);
    }
}

void TestSettingsWindow::returnIsOkAndEscapeIsCancel()
{
    open();
    for (const QString &focus : {u"userNameField"_s, u"passwordField"_s, u"autoLaunchBox"_s}) {
        auto *const widget = m_window->findChild<QWidget *>(focus);
        widget->setFocus();
        const QSignalSpy okays(m_window, &SettingsWindow::okayPressed);
        const QSignalSpy cancels(m_window, &SettingsWindow::cancelPressed);
        QTest::keyClick(widget, Qt::Key_Return);
        QCOMPARE(okays.size(), 1);
        QCOMPARE(cancels.size(), 0);
        QTest::keyClick(widget, Qt::Key_Escape);
        QCOMPARE(okays.size(), 1);
        QCOMPARE(cancels.size(), 1);
    }
}

void TestSettingsWindow::returnOnAButtonPressesItAndNotOk()
{
    open();
    for (const QString &name : {u"cancelButton"_s, u"repairButton"_s, u"detectButton"_s, u"showPasswordButton"_s,
                                u"installPathButton"_s, u"launchPathButton"_s}) {
        QPushButton *const pressed = control(name);
        const QSignalSpy okays(m_window, &SettingsWindow::okayPressed);
        const QSignalSpy presses(pressed, &QPushButton::clicked);
        pressed->setFocus();
        QTest::keyClick(pressed, Qt::Key_Return);
        QTest::keyClick(pressed, Qt::Key_Enter);
        QCOMPARE(presses.size(), 2);
        QCOMPARE(okays.size(), 0);
        control<QLineEdit>(u"userNameField"_s)->setFocus(); // and there it is OK again
        QTest::keyClick(m_window->focusWidget(), Qt::Key_Return);
        QCOMPARE(okays.size(), 1);
        QCOMPARE(presses.size(), 2);
    }
}

void TestSettingsWindow::theTitleBarOnlyCloses()
{
    open();
    const QSignalSpy okays(m_window, &SettingsWindow::okayPressed);
    const QSignalSpy cancels(m_window, &SettingsWindow::cancelPressed);
    const QSignalSpy closings(m_window, &SettingsWindow::closing);
    m_window->windowHandle()->close(); // as the desktop does it
    QCOMPARE(closings.size(), 1);
    QCOMPARE(okays.size(), 0);
    QCOMPARE(cancels.size(), 0);
    QTRY_VERIFY(!m_window);
}

void TestSettingsWindow::itFollowsAChangeToDarkAndBack()
{
    open();
    verifyFollowsTheDesktop(*m_window);
}

QTEST_MAIN(TestSettingsWindow)
#include "TestSettingsWindow.moc"
