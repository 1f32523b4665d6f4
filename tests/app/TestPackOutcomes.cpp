#include "support/Program.h"
#include "support/Tree.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QString Installing = u"Installing..."_s;
const QString Installed = u"Update Installed."_s;
const QString Failed = u"Installation Failed. Permission issue..."_s;
} // namespace

// What the delegate shows of an installation, and what it refreshes.
class TestPackOutcomes : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { end(); }

    void theStatusesTellOfEveryEntry_data();
    void theStatusesTellOfEveryEntry();
    void anyOtherFailureReadsInstalledToo();
    void anUpdateEndsWithPlay();
    void anErrorPageLeavesTheButtonAtUpdate();
    void theFailureStatusFollowsTheAlert();
    void anAdministratorWhoMadeRoomIsNotAskedToCopy();
    void theWaitLastsAsLongAsTheInstallation();

private:
    void install(const QByteArray &archive)
    {
        m_world->write(m_world->archive(), archive);
        delegate().downloadFinishedWithResult(true);
    }
    // Into an add-on folder that refuses the player.
    void installRefused(const QByteArray &archive)
    {
        m_program->administrator.close(m_world->addOnFolder());
        m_world->write(m_world->archive(), archive);
        giveToPlayer(m_world->supportFolder());
        const OrdinaryUser player;
        delegate().downloadFinishedWithResult(true);
    }
    static QByteArray newPack() { return zipOf("mkdir Trailbook; echo '## Version: 2' >Trailbook/Trailbook.toc"); }
};

void TestPackOutcomes::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->vendor().setPackVersion("2");
    m_world->installPack("1");
    m_program = std::make_unique<Program>(*m_world);
}

void TestPackOutcomes::theStatusesTellOfEveryEntry_data()
{
    using Answer = std::optional<ScriptError>;
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<bool>("closed");
    QTest::addColumn<Answer>("answer"); // of the administrator; nothing: yes
    QTest::addColumn<QStringList>("statuses");
    QTest::addColumn<QStringList>("told");
    const QByteArray one = zipOf("echo 1 >one");
    const QByteArray three = zipOf("mkdir one; echo 2 >two; echo 3 >.three");
    const QString failure = u"Wayfar Installer failed to make changes. Reason "_s;
    QTest::newRow("one entry") << one << false << Answer() << QStringList{Installing, Installed} << QStringList();
    QTest::newRow("three") << three << false << Answer() << QStringList{Installing, Installed, Installed, Installed}
                           << QStringList();
    QTest::newRow("none") << QByteArray("<html>500</html>") << false << Answer() << QStringList{Installing}
                          << QStringList();
    QTest::newRow("by an administrator") << one << true << Answer() << QStringList{Installing, Installed}
                                         << QStringList();
    QTest::newRow("status 1 counts as done")
        << one << true << Answer(ScriptError{1, u"no"_s}) << QStringList{Installing, Installed} << QStringList();
    // The last status stands also after a failure (docs/kept-on-purpose.md).
    QTest::newRow("declined") << one << true << Answer(userCanceled) << QStringList{Installing, Failed, Installed}
                              << QStringList{failure + u"User canceled."_s};
    QTest::newRow("without a reason") << one << true << Answer({3, {}}) << QStringList{Installing, Failed, Installed}
                                      << QStringList{failure + u"(null)"_s};
    QTest::newRow("a placeholder for a reason")
        << one << true << Answer({3, u"%@"_s}) << QStringList{Installing, Failed, Installed}
        << QStringList{failure + u"%@"_s};
    QTest::newRow("three declined") << three << true << Answer(userCanceled)
                                    << QStringList{Installing, Failed, Installed, Failed, Installed, Failed, Installed}
                                    << QStringList(3, failure + u"User canceled."_s);
}

void TestPackOutcomes::theStatusesTellOfEveryEntry()
{
    QFETCH(const QByteArray, archive);
    QFETCH(const bool, closed);
    QFETCH(const std::optional<ScriptError>, answer);
    m_program->administrator.refusal = answer;
    if (closed)
        installRefused(archive);
    else
        install(archive);
    QTEST(m_program->statuses, "statuses");
    QTEST(m_program->alert.told(), "told");
}

void TestPackOutcomes::anyOtherFailureReadsInstalledToo()
{
    delegate().moveUpdateToInstallLocation("/no/such/entry", toPath(m_world->addOnFolder()) / "entry");
    QCOMPARE(delegate().statusStr(), Installed); // docs/kept-on-purpose.md
    QVERIFY(m_program->alert.shown.isEmpty());
    QVERIFY(m_program->administrator.scripts.isEmpty());
}

void TestPackOutcomes::anUpdateEndsWithPlay()
{
    install(newPack());
    QCOMPARE(delegate().currentVersion(), u"2"_s);
    QCOMPARE(delegate().buttonText(), u"Play"_s);
    QCOMPARE(delegate().updateProgressbar(), 100.0);
    QVERIFY(delegate().updateNotStarted());
}

void TestPackOutcomes::anErrorPageLeavesTheButtonAtUpdate()
{
    install("<html>500</html>");
    QCOMPARE(delegate().currentVersion(), u"1"_s);
    QCOMPARE(delegate().buttonText(), u"Update"_s);
}

void TestPackOutcomes::theFailureStatusFollowsTheAlert()
{
    m_program->administrator.refusal = userCanceled;
    QStringList whileShown;
    m_program->alert.whileShown = [&] { whileShown = m_program->statuses; };
    installRefused(newPack());
    QCOMPARE(whileShown, QStringList{Installing});
    QVERIFY(m_program->statuses.contains(Failed));
}

// Whose cp then fails with its usual status, which counts as done.
void TestPackOutcomes::anAdministratorWhoMadeRoomIsNotAskedToCopy()
{
    const QByteArray archive = newPack();
    const QByteArray path = qgetenv("PATH");
    runIn(m_world->path(u"tools"_s), "printf '#!/bin/sh\\nexit 1\\n' >cp; chmod 755 cp");
    qputenv("PATH", QFile::encodeName(m_world->path(u"tools"_s)) + ':' + path);
    installRefused(archive);
    qputenv("PATH", path);
    QVERIFY(!QFile::exists(m_world->addOnFolder() + u"/Trailbook"_s));
    QCOMPARE(m_program->administrator.scripts.size(), 1);
    QCOMPARE(m_program->statuses, (QStringList{Installing, Installed}));
}

void TestPackOutcomes::theWaitLastsAsLongAsTheInstallation()
{
    bool waits = false;
    connect(&delegate(), &AppDelegate::statusStrChanged, this, [&] {
        if (delegate().statusStr() == Installed)
            waits = QApplication::overrideCursor() != nullptr;
    });
    install(newPack());
    QVERIFY(waits);
    QVERIFY(!QApplication::overrideCursor());
}

QTEST_MAIN(TestPackOutcomes)
#include "TestPackOutcomes.moc"
