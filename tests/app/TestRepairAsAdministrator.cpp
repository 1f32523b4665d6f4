#include "places/Preferences.h"
#include "support/Program.h"

#include <QApplication>
#include <QDir>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

// The repair where the file system refuses the player, and an administrator's command follows.
class TestRepairAsAdministrator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void aProtectedAddOnIsOnePromptForEverythingAndThenSilence();
    void theCommandEndsInABlankWithoutFiles();
    void aProtectedFolderAroundTheAddOnCountsToo();
    void aDeclinedPromptIsToldAndThenTheVersionsAreRefreshed();
    void theAlertOpensWhenTheWaitIsOver();
    void theOutcomeOfTheCommandDecides_data();
    void theOutcomeOfTheCommandDecides();
    void protectedSavedVariablesAreOnePromptForTheFindCommand();
    void theFindCommandReachesWhatThePlayerCannotRead();
    void theFindCommandLeavesLookalikesAndLinks();
    void aDeclinedFindIsToldOnceAndRefreshesNothing();
    void statusOneOfTheFindCountsAsDone();
    void noCommandRunsOnAnUnquotablePath_data();
    void noCommandRunsOnAnUnquotablePath();
    void anApostropheInAnAccountsNameStopsTheOneCommand();
    void thePathsStandRawInTheCommand_data();
    void thePathsStandRawInTheCommand();
    void aNameThatIsNotUtf8ReachesTheCommand();

private:
    QString game() const { return m_world->gameFolder(); }
    QString settings(const QString &name = {}) const
    {
        return game() + u"/_retail_/WTF"_s + (name.isEmpty() ? QString() : u'/' + name);
    }
    QString addOn() const { return m_world->addOnFolder() + u"/Trailbook"_s; }
    static bool exists(const QString &path) { return FileManager::itemExists(toPath(path)); }
    // Nothing in it can be changed any more, except by the administrator.
    void close(const QString &folder, mode_t mode = 0555) const
    {
        QCOMPARE(::chmod(QFile::encodeName(folder).constData(), mode), 0);
        m_program->administrator.closedFolders.append(folder);
    }
    static void openToAll(const QString &folder) { QCOMPARE(::chmod(QFile::encodeName(folder).constData(), 0777), 0); }
    void repair() const
    {
        const OrdinaryUser player;
        m_program->delegate.repairtInstallation();
    }
    QStringList told() const
    {
        QStringList texts;
        for (const AlertContent &content : m_program->alert.shown)
            texts.append(content.messageText);
        return texts;
    }
    QByteArrayList scripts() const { return m_program->administrator.scripts; }
    bool isRefreshed() const { return m_program->delegate.buttonText() != u"before"_s; }
    static QByteArray script(const QString &command)
    {
        return "do shell script \"" + QFile::encodeName(command) + "\" with administrator privileges";
    }
    QByteArray findScript() const
    {
        return script(u"find '%1' -type f -name 'Trailbook.lua' -exec rm {} + && find '%1' -type f -name "
                      "'Trailbook.lua.bak' -exec rm {} +"_s.arg(settings()));
    }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Program> m_program;
};

void TestRepairAsAdministrator::init()
{
    m_program.reset();
    m_world = std::make_unique<TestWorld>();
    m_world->goOffline();
    m_program = std::make_unique<Program>(*m_world);
    m_program->delegate.setButtonText(u"before"_s);
    m_world->installPack("1.2.6");
    QVERIFY(QDir().mkpath(settings()));
}

void TestRepairAsAdministrator::aProtectedAddOnIsOnePromptForEverythingAndThenSilence()
{
    for (const QString &name : {u"A/Trailbook.lua"_s, u"A/Trailbook.lua.bak"_s})
        m_world->write(settings(name), "");
    close(addOn());
    QStringList files; // in the file system's own order
    for (const FilePath &file : m_program->delegate.filesToRepair())
        files.append(toText(file));
    QCOMPARE(files.size(), 2);
    openToAll(m_world->addOnFolder()); // only the add-on itself refuses
    repair();
    QCOMPARE(scripts(),
             QByteArrayList{script(u"rm -rf '%1'  && rm -rf '%2' && rm -rf '%3'"_s.arg(addOn(), files[0], files[1]))});
    QVERIFY(!exists(addOn()));
    QVERIFY(!exists(settings(u"A/Trailbook.lua"_s)));
    QVERIFY(!exists(settings(u"A/Trailbook.lua.bak"_s)));
    QCOMPARE(told(), QStringList());
    QVERIFY(!isRefreshed());
}

void TestRepairAsAdministrator::theCommandEndsInABlankWithoutFiles()
{
    close(addOn());
    repair();
    QCOMPARE(scripts(), QByteArrayList{script(u"rm -rf '%1' "_s.arg(addOn()))});
    QVERIFY(told().isEmpty());
}

void TestRepairAsAdministrator::aProtectedFolderAroundTheAddOnCountsToo()
{
    openToAll(addOn());
    close(m_world->addOnFolder());
    repair();
    QCOMPARE(scripts().size(), 1);
    QVERIFY(!exists(addOn()));
}

void TestRepairAsAdministrator::aDeclinedPromptIsToldAndThenTheVersionsAreRefreshed()
{
    m_world->write(settings(u"Trailbook.lua"_s), "");
    close(addOn());
    m_program->administrator.refusal = userCanceled;
    bool refreshedBefore = true;
    m_program->alert.whileShown = [&] { refreshedBefore = isRefreshed(); };
    repair();
    QCOMPARE(told(), QStringList{u"Wayfar Installer failed to repair Installation. Reason User canceled."_s});
    QVERIFY(!refreshedBefore);
    QVERIFY(isRefreshed());
    QCOMPARE(scripts().size(), 1);
    QVERIFY(exists(addOn()));
    QVERIFY(exists(settings(u"Trailbook.lua"_s)));
    const AlertContent &alert = m_program->alert.shown.first();
    QCOMPARE(alert.informativeText + alert.alternateButton, QString());
    QCOMPARE(alert.defaultButton, u"OK"_s);
}

void TestRepairAsAdministrator::theAlertOpensWhenTheWaitIsOver()
{
    close(addOn());
    m_program->administrator.refusal = userCanceled;
    bool waits = true;
    m_program->alert.whileShown = [&waits] { waits = QApplication::overrideCursor() != nullptr; };
    repair();
    QVERIFY(!waits); // it is the player who is waited for now
}

void TestRepairAsAdministrator::theOutcomeOfTheCommandDecides_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<std::optional<QString>>("brief");
    QTest::addColumn<QString>("reason"); // in the alert; none when empty
    const auto row = [](const char *name, int number, const std::optional<QString> &brief, const QString &reason) {
        QTest::newRow(name) << number << brief << reason;
    };
    row("status 1 counts as done", 1, u"rm: cannot remove"_s, QString());
    row("status 2", 2, u"a syntax error"_s, u"a syntax error"_s);
    row("status 126", 126, u"not executable"_s, u"not executable"_s);
    row("minus 1", -1, u"odd"_s, u"odd"_s);
    row("a refusal", -60005, u"The password was incorrect."_s, u"The password was incorrect."_s);
    row("without words", 3, std::nullopt, u"(null)"_s);
    row("with a placeholder", 3, u"%@"_s, u"%@"_s);
}

void TestRepairAsAdministrator::theOutcomeOfTheCommandDecides()
{
    QFETCH(const int, number);
    QFETCH(const std::optional<QString>, brief);
    QFETCH(const QString, reason);
    close(addOn());
    m_program->administrator.refusal = ScriptError{number, brief};
    repair();
    QCOMPARE(told(),
             reason.isEmpty() ? QStringList()
                              : QStringList{u"Wayfar Installer failed to repair Installation. Reason "_s + reason});
    QCOMPARE(isRefreshed(), !reason.isEmpty());
}

void TestRepairAsAdministrator::protectedSavedVariablesAreOnePromptForTheFindCommand()
{
    for (const QString &name : {u"A/Trailbook.lua"_s, u"A/Trailbook.lua.bak"_s, u"A/B/Trailbook.lua"_s})
        m_world->write(settings(name), "");
    close(settings(u"A/B"_s));
    close(settings(u"A"_s));
    openToAll(m_world->addOnFolder());
    openToAll(addOn());
    std::optional<QString> buttonAtTheEnd;
    m_program->alert.whileShown = [&] { buttonAtTheEnd = m_program->delegate.buttonText(); };
    repair();
    QCOMPARE(scripts(), QByteArrayList{findScript()});
    QVERIFY(!exists(addOn()));
    QVERIFY(m_program->delegate.filesToRepair().isEmpty());
    QCOMPARE(told(), QStringList{u"Wayfar Installer successfully repaired Installation."_s});
    QCOMPARE(buttonAtTheEnd, u"before"_s);
    QVERIFY(isRefreshed());
}

void TestRepairAsAdministrator::theFindCommandReachesWhatThePlayerCannotRead()
{
    m_world->write(settings(u"protected/Trailbook.lua"_s), "");
    m_world->write(settings(u"shut/Trailbook.lua.bak"_s), "");
    openToAll(m_world->addOnFolder());
    openToAll(addOn());
    close(settings(u"protected"_s));
    close(settings(u"shut"_s), 0000);
    repair();
    QCOMPARE(scripts(), QByteArrayList{findScript()});
    QCOMPARE(::chmod(QFile::encodeName(settings(u"shut"_s)).constData(), 0755), 0);
    QVERIFY(!exists(settings(u"protected/Trailbook.lua"_s)));
    QVERIFY(!exists(settings(u"shut/Trailbook.lua.bak"_s)));
}

void TestRepairAsAdministrator::theFindCommandLeavesLookalikesAndLinks()
{
    m_world->write(m_world->path(u"outside/Trailbook.lua"_s), "");
    const QStringList kept = {u"A/trailbook.lua"_s, u"A/Trailbook.lua.bak.old"_s, u"A/Trailbook.luac"_s};
    for (const QString &name : kept)
        m_world->write(settings(name), "");
    m_world->write(settings(u"A/Trailbook.lua"_s), "");
    QVERIFY(QFile::link(m_world->path(u"outside/Trailbook.lua"_s), settings(u"A/Trailbook.lua.bak"_s)));
    QVERIFY(QFile::link(m_world->path(u"outside"_s), settings(u"A/elsewhere"_s)));
    close(settings(u"A"_s));
    {
        const OrdinaryUser player;
        QVERIFY(m_program->delegate.removeLuaFiles());
    }
    QCOMPARE(scripts().size(), 1);
    for (const QString &name : kept)
        QVERIFY2(exists(settings(name)), qPrintable(name));
    QVERIFY(!exists(settings(u"A/Trailbook.lua"_s)));
    QVERIFY(exists(settings(u"A/Trailbook.lua.bak"_s))); // find looks for plain files alone
    QVERIFY(exists(settings(u"A/elsewhere/Trailbook.lua"_s)));
}

void TestRepairAsAdministrator::aDeclinedFindIsToldOnceAndRefreshesNothing()
{
    m_world->write(settings(u"A/Trailbook.lua"_s), "");
    m_world->write(settings(u"A/Trailbook.lua.bak"_s), "");
    close(settings(u"A"_s));
    openToAll(m_world->addOnFolder());
    openToAll(addOn());
    m_program->administrator.refusal = userCanceled;
    repair();
    QVERIFY(!exists(addOn()));
    QVERIFY(exists(settings(u"A/Trailbook.lua"_s)));
    QCOMPARE(scripts(), QByteArrayList{findScript()});
    QCOMPARE(told(), QStringList{u"Wayfar Installer failed to repair Installation. Reason User canceled."_s});
    QVERIFY(!isRefreshed());
}

void TestRepairAsAdministrator::statusOneOfTheFindCountsAsDone()
{
    m_world->write(settings(u"A/Trailbook.lua"_s), "");
    close(settings(u"A"_s));
    m_program->administrator.refusal = ScriptError{1, u"find: Permission denied"_s};
    const OrdinaryUser player;
    QVERIFY(m_program->delegate.removeLuaFiles());
    QCOMPARE(told(), QStringList());
}

void TestRepairAsAdministrator::noCommandRunsOnAnUnquotablePath_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("protectedAddOn"); // else a protected saved-variables file
    QTest::addColumn<QString>("reason");
    QTest::addColumn<int>("prompts");
    const QString unquoted = u"sh: 1: Syntax error: Unterminated quoted string"_s;
    const QString broken = u"Expected end of line but found unknown token."_s;
    for (const bool protectedAddOn : {true, false}) {
        const auto row = [protectedAddOn](const char *name, const QString &game, const QString &reason, int scripts) {
            QTest::addRow("%s, %s", name, protectedAddOn ? "the add-on" : "a file")
                << game << protectedAddOn << reason << scripts;
        };
        row("one apostrophe", u"Player's game"_s, unquoted, 0);
        row("two apostrophes", u"a 'game' b"_s, unquoted, 0);
        row("quotes", u"the \"game\""_s, broken, 1);
        row("a backslash", u"drive\\c"_s, broken, 1);
    }
}

void TestRepairAsAdministrator::noCommandRunsOnAnUnquotablePath()
{
    QFETCH(const QString, name);
    QFETCH(const bool, protectedAddOn);
    QFETCH(const QString, reason);
    QFETCH(const int, prompts);
    const QString folder = m_world->path(name);
    const QString pack = folder + u"/_retail_/Interface/AddOns/Trailbook"_s;
    const QString file = folder + u"/_retail_/WTF/A/Trailbook.lua"_s;
    m_world->write(pack + u"/Trailbook.toc"_s, "");
    m_world->write(file, "");
    m_world->defaults().setObject(Preferences::installPath.key, folder);
    openToAll(pack);
    openToAll(QFileInfo(pack).path());
    close(protectedAddOn ? pack : QFileInfo(file).path());
    repair();
    QCOMPARE(told(), QStringList{u"Wayfar Installer failed to repair Installation. Reason "_s + reason});
    QCOMPARE(scripts().size(), prompts); // the runner gets the latter ones and can't make sense of them
    QCOMPARE(exists(pack), protectedAddOn);
    QVERIFY(exists(file));
    QCOMPARE(isRefreshed(), protectedAddOn);
}

void TestRepairAsAdministrator::anApostropheInAnAccountsNameStopsTheOneCommand()
{
    m_world->write(settings(u"O'BRIEN/Trailbook.lua"_s), "");
    close(addOn());
    repair();
    QVERIFY(scripts().isEmpty());
    QCOMPARE(told().size(), 1);
    QVERIFY(exists(addOn()));
    QVERIFY(exists(settings(u"O'BRIEN/Trailbook.lua"_s)));
}

void TestRepairAsAdministrator::thePathsStandRawInTheCommand_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blanks") << u"World of  Warcraft"_s;
    QTest::newRow("a placeholder") << u"%@"_s;
    QTest::newRow("a dollar sign") << u"$HOME"_s;
    QTest::newRow("a backquote") << u"`id`"_s;
    QTest::newRow("an ampersand") << u"a && b;c|d"_s;
    QTest::newRow("a line end") << u"a\nb"_s;
    QTest::newRow("another alphabet") << u"世界"_s;
}

void TestRepairAsAdministrator::thePathsStandRawInTheCommand()
{
    QFETCH(const QString, name);
    const QString folder = m_world->path(name);
    const QString pack = folder + u"/_retail_/Interface/AddOns/Trailbook"_s;
    const QString file = folder + u"/_retail_/WTF/Trailbook.lua"_s;
    m_world->write(pack + u"/Trailbook.toc"_s, "");
    m_world->write(file, "");
    m_world->defaults().setObject(Preferences::installPath.key, folder);
    close(pack);
    openToAll(QFileInfo(pack).path());
    repair();
    const QByteArray expected = "do shell script \"rm -rf '" + QFile::encodeName(pack) + "'  && rm -rf '"
        + QFile::encodeName(file) + "'\" with administrator privileges";
    QCOMPARE(scripts(), QByteArrayList{expected});
    QVERIFY(!exists(pack));
    QVERIFY(!exists(file));
    QVERIFY(told().isEmpty());
}

void TestRepairAsAdministrator::aNameThatIsNotUtf8ReachesTheCommand()
{
    const FilePath account = toPath(settings()) / "caf\xe9";
    std::filesystem::create_directories(account);
    QVERIFY(!FileManager::createEmptyFile(account / "Trailbook.lua"));
    close(addOn());
    openToAll(m_world->addOnFolder());
    repair();
    QCOMPARE(scripts().size(), 1);
    QVERIFY(scripts().first().contains("/caf\xe9/Trailbook.lua'"));
    QVERIFY(!FileManager::itemExists(account / "Trailbook.lua"));
    QVERIFY(!FileManager::removeItem(account));
}

QTEST_MAIN(TestRepairAsAdministrator)
#include "TestRepairAsAdministrator.moc"
