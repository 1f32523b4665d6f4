#include "support/Program.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QString repaired = u"Wayfar Installer successfully repaired Installation."_s;
const QString failure = u"Wayfar Installer failed to repair Installation. Reason "_s;
} // namespace

// What the delegate tells of a repair, and what it refreshes.
class TestRepairOutcomes : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { end(); }

    void theRepairIsToldAndThenTheVersionsAreRefreshed_data();
    void theRepairIsToldAndThenTheVersionsAreRefreshed();
    void theSavedSettingsAloneAreToldOfOnlyWhenTheyFail_data();
    void theSavedSettingsAloneAreToldOfOnlyWhenTheyFail();
    void nothingComesBetweenItsHalves();
    void theAlertOpensWhenTheWaitIsOver();
    void theButtonStartsItAndTheSettingsStayOpen();

private:
    bool isRefreshed() const { return delegate().buttonText() != u"before"; }
    QString addOn() const { return m_world->addOnFolder() + u"/Trailbook"_s; }
    QString settings() const { return m_world->gameFolder() + u"/_retail_/WTF"_s; }
};

void TestRepairOutcomes::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->goOffline();
    m_program = std::make_unique<Program>(*m_world);
    delegate().setButtonText(u"before"_s);
    m_world->installPack("1.2.6");
    m_world->write(settings() + u"/Trailbook.lua"_s, "");
    for (const QString &folder : {m_world->addOnFolder(), addOn(), settings()})
        openToAll(folder);
}

void TestRepairOutcomes::theRepairIsToldAndThenTheVersionsAreRefreshed_data()
{
    using Answer = std::optional<ScriptError>;
    QTest::addColumn<QString>("closed");
    QTest::addColumn<Answer>("answer"); // nothing: yes
    QTest::addColumn<QStringList>("told");
    QTest::addColumn<bool>("refreshed");
    const QStringList silence;
    QTest::newRow("without an administrator") << QString() << Answer() << QStringList{repaired} << true;
    // Says nothing and refreshes nothing (docs/kept-on-purpose.md).
    QTest::newRow("an add-on, yes") << u"add-on"_s << Answer() << silence << false;
    QTest::newRow("an add-on, status 1") << u"add-on"_s << Answer({1, u"rm: cannot remove"_s}) << silence << false;
    QTest::newRow("an add-on, no") << u"add-on"_s << Answer(userCanceled) << QStringList{failure + u"User canceled."_s}
                                   << true;
    QTest::newRow("without words") << u"add-on"_s << Answer({3, {}}) << QStringList{failure + u"(null)"_s} << true;
    QTest::newRow("a placeholder in the words")
        << u"add-on"_s << Answer({3, u"%@"_s}) << QStringList{failure + u"%@"_s} << true;
    QTest::newRow("settings, yes") << u"settings"_s << Answer() << QStringList{repaired} << true;
    QTest::newRow("settings, status 1") << u"settings"_s << Answer({1, u"no"_s}) << QStringList{repaired} << true;
    QTest::newRow("settings, no") << u"settings"_s << Answer(userCanceled) << QStringList{failure + u"User canceled."_s}
                                  << false;
}

void TestRepairOutcomes::theRepairIsToldAndThenTheVersionsAreRefreshed()
{
    QFETCH(const QString, closed);
    QFETCH(const std::optional<ScriptError>, answer);
    if (!closed.isEmpty())
        m_program->administrator.close(closed == u"add-on" ? addOn() : settings());
    m_program->administrator.refusal = answer;
    bool refreshedBefore = false;
    m_program->alert.whileShown = [&] { refreshedBefore = isRefreshed(); };
    {
        const OrdinaryUser player;
        delegate().repairtInstallation();
    }
    QTEST(m_program->alert.told(), "told");
    QTEST(isRefreshed(), "refreshed");
    QVERIFY(!refreshedBefore);
    QCOMPARE(m_program->administrator.scripts.size(), closed.isEmpty() ? 0 : 1);
    QCOMPARE(FileManager::itemExists(toPath(addOn())), closed == u"add-on" && answer.has_value());
}

void TestRepairOutcomes::theSavedSettingsAloneAreToldOfOnlyWhenTheyFail_data()
{
    QTest::addColumn<bool>("closed");
    QTest::addColumn<bool>("declined");
    QTest::newRow("without an administrator") << false << false;
    QTest::newRow("yes") << true << false;
    QTest::newRow("no") << true << true;
}

void TestRepairOutcomes::theSavedSettingsAloneAreToldOfOnlyWhenTheyFail()
{
    QFETCH(const bool, closed);
    QFETCH(const bool, declined);
    if (closed)
        m_program->administrator.close(settings());
    if (declined)
        m_program->administrator.refusal = userCanceled;
    {
        const OrdinaryUser player;
        QCOMPARE(delegate().removeLuaFiles(), !declined);
    }
    QCOMPARE(delegate().filesToRepair().size(), declined ? 1 : 0);
    QCOMPARE(m_program->alert.told(), declined ? QStringList{failure + u"User canceled."_s} : QStringList());
    QVERIFY(!isRefreshed());
}

// A download may end during a repair: its installation comes after both halves.
void TestRepairOutcomes::nothingComesBetweenItsHalves()
{
    std::optional<bool> settingsLeft;
    QMetaObject::invokeMethod(
        &delegate(), [&] { settingsLeft = QFile::exists(settings() + u"/Trailbook.lua"_s); }, Qt::QueuedConnection);
    delegate().repairtInstallation();
    QCOMPARE(settingsLeft, std::optional(false));
}

void TestRepairOutcomes::theAlertOpensWhenTheWaitIsOver()
{
    bool waits = true;
    m_program->alert.whileShown = [&waits] { waits = QApplication::overrideCursor() != nullptr; };
    delegate().repairtInstallation();
    QVERIFY(!waits);
}

void TestRepairOutcomes::theButtonStartsItAndTheSettingsStayOpen()
{
    QVERIFY(m_program->openSettings());
    m_program->pressInSettings("repairButton");
    QCOMPARE(m_program->alert.told(), QStringList{repaired});
    QCOMPARE(delegate().currentVersion(), u"none"_s);
    QVERIFY(delegate().settingsWindow()->isVisible());
}

QTEST_MAIN(TestRepairOutcomes)
#include "TestRepairOutcomes.moc"
