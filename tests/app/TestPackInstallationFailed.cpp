#include "support/RefusedInstallation.h"

#include "places/Preferences.h"

#include <QFileInfo>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

// The file system refuses the player, and the administrator says no or the command fails.

namespace
{
const QString Installing = u"Installing..."_s;
const QString Installed = u"Update Installed."_s;
const QString Failed = u"Installation Failed. Permission issue..."_s;
const QByteArray NewPack =
    "mkdir Trailbook; echo '## Version: 2' >Trailbook/Trailbook.toc; echo new >Trailbook/New.lua;";

void shell(const QString &folder, const QString &commands)
{
    QCOMPARE(QProcess::execute(u"sh"_s, {u"-ec"_s, u"cd \"$0\"; "_s + commands, folder}), 0);
}
} // namespace

class TestPackInstallationFailed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_test = std::make_unique<RefusedInstallation>(); }
    void cleanup() { m_test.reset(); }

    void aCancelledPromptLeavesTheOldAddOn();
    void aCancelledCreationLeavesNothing();
    void aCancelledCopyLeavesNothing();
    void theFailureStatusFollowsTheAlert();
    void everyRefusalIsTold_data();
    void everyRefusalIsTold();
    void exitStatusOneCountsAsDone();
    void aRefusalBeforeAPlainCopyLeadsToTheCopyCommand_data();
    void aRefusalBeforeAPlainCopyLeadsToTheCopyCommand();
    void acceptedAndCancelledPromptsDoNotMix();
    void anApostropheEndsTheRunWithoutAPrompt_data();
    void anApostropheEndsTheRunWithoutAPrompt();
    void aPathThatCannotBeCompiledIsTold_data();
    void aPathThatCannotBeCompiledIsTold();

private:
    std::unique_ptr<RefusedInstallation> m_test;
};

void TestPackInstallationFailed::aCancelledPromptLeavesTheOldAddOn()
{
    m_test->closeWithAddOn();
    m_test->program.administrator.refusal = userCanceled;
    m_test->installAsThePlayer(zipOf(NewPack));
    QCOMPARE(m_test->program.administrator.scripts, QList<QByteArray>{m_test->replaceScript()});
    m_test->verifyOneAlert(u"User canceled."_s);
    QCOMPARE(m_test->statuses, (QStringList{Installing, Failed, Installed})); // although nothing was replaced: agreed
    QCOMPARE(m_test->installed(u"Trailbook/Old.lua"_s), QByteArray("-- old\n"));
    QVERIFY(!QFile::exists(m_test->addOn(u"Trailbook/New.lua"_s)));
}

void TestPackInstallationFailed::aCancelledCreationLeavesNothing()
{
    m_test->closeWithoutAddOnFolder();
    m_test->program.administrator.refusal = userCanceled;
    m_test->installAsThePlayer(zipOf(NewPack));
    QCOMPARE(m_test->program.administrator.scripts,
             QList<QByteArray>{m_test->createScript()}); // the copy then fails for its missing parent: no more prompts
    m_test->verifyOneAlert(u"User canceled."_s);
    QCOMPARE(m_test->statuses, (QStringList{Installing, Failed, Installed}));
    QVERIFY(QDir(m_test->world.gameFolder()).isEmpty());
}

void TestPackInstallationFailed::aCancelledCopyLeavesNothing()
{
    m_test->close(m_test->world.addOnFolder());
    m_test->program.administrator.refusal = userCanceled;
    m_test->installAsThePlayer(zipOf(NewPack));
    QCOMPARE(m_test->program.administrator.scripts, QList<QByteArray>{m_test->copyScript()});
    m_test->verifyOneAlert(u"User canceled."_s);
    QCOMPARE(m_test->statuses, (QStringList{Installing, Failed, Installed}));
    QVERIFY(QDir(m_test->world.addOnFolder()).isEmpty());
}

void TestPackInstallationFailed::theFailureStatusFollowsTheAlert()
{
    m_test->closeWithAddOn();
    m_test->program.administrator.refusal = userCanceled;
    QStringList whileShown;
    m_test->program.alert.whileShown = [&] { whileShown = m_test->statuses; };
    m_test->installAsThePlayer(zipOf(NewPack));
    QCOMPARE(whileShown, QStringList{Installing});
}

void TestPackInstallationFailed::everyRefusalIsTold_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("a wrong password") << -60005;
    QTest::newRow("no agent") << -60007;
    QTest::newRow("no service") << -2700;
    for (const int status : {2, 126, 127, 137, 255})
        QTest::addRow("exit status %d", status) << status;
}

void TestPackInstallationFailed::everyRefusalIsTold()
{
    QFETCH(const int, number);
    m_test->closeWithAddOn();
    m_test->program.administrator.refusal = ScriptError{number, u"the runner's words"_s};
    m_test->installAsThePlayer(zipOf(NewPack));
    m_test->verifyOneAlert(u"the runner's words"_s);
    QCOMPARE(m_test->statuses, (QStringList{Installing, Failed, Installed}));
}

void TestPackInstallationFailed::exitStatusOneCountsAsDone()
{
    m_test->closeWithAddOn();
    m_test->program.administrator.refusal = ScriptError{1, u"cp: cannot create directory"_s};
    m_test->installAsThePlayer(zipOf(NewPack));
    QCOMPARE(m_test->program.administrator.scripts, QList<QByteArray>{m_test->replaceScript()});
    QVERIFY(m_test->program.alert.shown.isEmpty());
    QCOMPARE(m_test->statuses, (QStringList{Installing, Installed}));
    QCOMPARE(m_test->installed(u"Trailbook/Old.lua"_s), QByteArray("-- old\n"));
}

void TestPackInstallationFailed::aRefusalBeforeAPlainCopyLeadsToTheCopyCommand_data()
{
    QTest::addColumn<bool>("addOn");
    QTest::addColumn<QString>("meanwhile"); // in the game folder
    QTest::newRow("deletion refused") << true
                                      << u"chmod -R u+w _retail_; rm -rf _retail_/Interface/AddOns/Trailbook; "
                                         "chmod 0777 _retail_/Interface/AddOns"_s;
    QTest::newRow("creation refused") << false
                                      << u"chmod u+w .; mkdir -p _retail_/Interface/AddOns; "
                                         "chmod 0777 _retail_/Interface/AddOns"_s;
}

// Somebody mends the folder while the alert is open. The plain copy then succeeds, but the error from before it stays,
// so that the command copies into it once more: agreed.
void TestPackInstallationFailed::aRefusalBeforeAPlainCopyLeadsToTheCopyCommand()
{
    QFETCH(const bool, addOn);
    QFETCH(const QString, meanwhile);
    addOn ? m_test->closeWithAddOn() : m_test->closeWithoutAddOnFolder();
    m_test->program.administrator.refusal = userCanceled;
    m_test->program.alert.whileShown = [&] {
        shell(m_test->world.gameFolder(), meanwhile);
        m_test->program.administrator.refusal.reset();
        m_test->program.administrator.closedFolders.clear();
    };
    m_test->installAsThePlayer(zipOf(NewPack));
    QCOMPARE(m_test->program.administrator.scripts,
             (QList<QByteArray>{addOn ? m_test->replaceScript() : m_test->createScript(), m_test->copyScript()}));
    m_test->verifyOneAlert(u"User canceled."_s);
    QCOMPARE(m_test->statuses, (QStringList{Installing, Failed, Installed}));
    QCOMPARE(m_test->installed(u"Trailbook/New.lua"_s), QByteArray("new\n"));
    QCOMPARE(m_test->installed(u"Trailbook/Trailbook/New.lua"_s), QByteArray("new\n"));
}

void TestPackInstallationFailed::acceptedAndCancelledPromptsDoNotMix()
{
    m_test->close(m_test->world.addOnFolder());
    m_test->program.administrator.refusal = userCanceled;
    m_test->program.alert.whileShown = [this] {
        m_test->program.administrator.refusal.reset();
    }; // the player thinks better of it
    m_test->installAsThePlayer(zipOf("echo one >one; echo two >two"));
    QCOMPARE(m_test->program.administrator.scripts.size(), 2);
    m_test->verifyOneAlert(u"User canceled."_s);
    QCOMPARE(m_test->statuses, (QStringList{Installing, Failed, Installed, Installed}));
    QCOMPARE(QDir(m_test->world.addOnFolder()).entryList(QDir::Files).size(), 1);
}

void TestPackInstallationFailed::anApostropheEndsTheRunWithoutAPrompt_data()
{
    QTest::addColumn<QString>("data"); // below the world's folder
    QTest::addColumn<QString>("game");
    QTest::addColumn<bool>("addOn");
    QTest::newRow("in the game's path, to replace") << u"data"_s << u"o'neill/game"_s << true;
    QTest::newRow("in the game's path, to copy") << u"data"_s << u"o'neill/game"_s << false;
    QTest::newRow("in the support folder's path") << u"o'neill/data"_s << u"game"_s << true;
    QTest::newRow("in both, where the quotes pair up") << u"o'neill/data"_s << u"o'neill/game"_s << false;
}

void TestPackInstallationFailed::anApostropheEndsTheRunWithoutAPrompt()
{
    QFETCH(const QString, data);
    QFETCH(const QString, game);
    QFETCH(const bool, addOn);
    const TestWorld &world = m_test->world;
    const QString support = world.path(data) + u"/WayfarInstaller"_s;
    const QString addOns = world.path(game) + u"/_retail_/Interface/AddOns"_s;
    qputenv("XDG_DATA_HOME", world.path(data).toLocal8Bit());
    m_test->world.defaults().setObject(Preferences::installPath.key, world.path(game));
    world.write(support + u"/download.zip"_s, zipOf(NewPack));
    world.write(addOns + (addOn ? u"/Trailbook/Old.lua"_s : u"/Another/Other.lua"_s), "-- old\n");
    m_test->close(addOns + u"/Trailbook"_s);
    m_test->close(addOns);
    Installation::giveToPlayer(world.path(data));
    {
        const OrdinaryUser player;
        m_test->install(std::nullopt);
    }
    QCOMPARE(m_test->program.administrator.scripts, QList<QByteArray>());
    m_test->verifyOneAlert(u"sh: 1: Syntax error: Unterminated quoted string"_s);
    QCOMPARE(m_test->statuses, (QStringList{Installing, Failed, Installed}));
    QCOMPARE(world.read(support + u"/installer/Trailbook/New.lua"_s), QByteArray("new\n")); // the rest went on
    QCOMPARE(QFile::exists(addOns + u"/Trailbook/Old.lua"_s), addOn);
    QVERIFY(!QFile::exists(addOns + u"/Trailbook/New.lua"_s));
}

void TestPackInstallationFailed::aPathThatCannotBeCompiledIsTold_data()
{
    QTest::addColumn<QString>("game");
    QTest::newRow("a double quote") << u"ga\"me"_s;
    QTest::newRow("a backslash") << u"ga\\me"_s;
}

void TestPackInstallationFailed::aPathThatCannotBeCompiledIsTold()
{
    QFETCH(const QString, game);
    const QString addOns = m_test->world.path(game) + u"/_retail_/Interface/AddOns"_s;
    m_test->world.defaults().setObject(Preferences::installPath.key, m_test->world.path(game));
    QVERIFY(QDir().mkpath(addOns));
    m_test->close(addOns);
    m_test->installAsThePlayer(zipOf(NewPack));
    m_test->verifyOneAlert(u"Expected end of line but found unknown token."_s);
    QCOMPARE(m_test->statuses, (QStringList{Installing, Failed, Installed}));
    QVERIFY(QDir(addOns).isEmpty());
}

QTEST_MAIN(TestPackInstallationFailed)
#include "TestPackInstallationFailed.moc"
