#include "support/Replacement.h"

using namespace Qt::StringLiterals;

// The application folder is write-protected, as /opt is for a player.
class TestInstallerReplacementRefused : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_test.reset(); }

    void anOpenFolderNeedsNoAdministrator();
    void theAdministratorsYesCopiesTheBundle();
    void status1CountsAsDone();
    void everyOtherNumberIsToldAndEndsWithStatus1_data();
    void everyOtherNumberIsToldAndEndsWithStatus1();
    void anApostropheOnTheWayAsksNobody();
    void aCopyThatReallyFailsIsToldOf();
    void theMoveReportsWhetherTheProgramGoesOn_data();
    void theMoveReportsWhetherTheProgramGoesOn();

private:
    void install() { m_test->installAsThePlayer(u"1.3.0"_s, Replacement::archiveOf(u"1.3.0"_s)); }
    void verifyAlert(const QString &reason) const
    {
        QCOMPARE(m_test->alert.shown.size(), 1);
        const AlertContent &content = m_test->alert.shown.constFirst();
        QCOMPARE(content.messageText, u"Wayfar Installer failed to make changes. Reason "_s + reason);
        QCOMPARE(content.informativeText, u"Application will quit now."_s);
        QCOMPARE(content.defaultButton, u"OK"_s);
        QCOMPARE(content.alternateButton, QString());
    }
    void verifyUntouched() const
    {
        QVERIFY(!QFile::exists(m_test->newBundle(u"1.3.0"_s)));
        QVERIFY(QFile::exists(m_test->runningBundle() + u"/AppRun"_s));
        QCOMPARE(m_test->versionIn(m_test->unpacked(u"1.3.0"_s)), "1.3.0");
    }

    std::unique_ptr<Replacement> m_test;
};

void TestInstallerReplacementRefused::init()
{
    m_test = std::make_unique<Replacement>();
    m_test->closeApplicationFolder();
    const OrdinaryUser player;
    QVERIFY(FileManager::createEmptyFile(toPath(m_test->applicationFolder() + u"/file"_s)).code
            == FileError::NoWritePermission);
}

// The other tests' refusals come from the folder alone.
void TestInstallerReplacementRefused::anOpenFolderNeedsNoAdministrator()
{
    ::chmod(QFile::encodeName(m_test->applicationFolder()).constData(), 0777);
    install();
    QCOMPARE(m_test->journal, m_test->launchThenEnd(u"1.3.0"_s));
    QVERIFY(!QFile::exists(m_test->unpacked(u"1.3.0"_s)));
}

void TestInstallerReplacementRefused::theAdministratorsYesCopiesTheBundle()
{
    install();
    QCOMPARE(m_test->journal, QStringList{u"administrator"_s} + m_test->launchThenEnd(u"1.3.0"_s));
    const QString command = u"cp -r '%1' '%2'"_s.arg(m_test->unpacked(u"1.3.0"_s), m_test->newBundle(u"1.3.0"_s));
    QCOMPARE(m_test->administrator.scripts,
             QList<QByteArray>{"do shell script \"" + command.toLocal8Bit() + "\" with administrator privileges"});
    QCOMPARE(m_test->versionIn(m_test->newBundle(u"1.3.0"_s)), "1.3.0");
    QVERIFY(QFileInfo(m_test->newBundle(u"1.3.0"_s) + u"/AppRun"_s).isExecutable());
    QCOMPARE(m_test->versionIn(m_test->unpacked(u"1.3.0"_s)), "1.3.0"); // only copied
}

void TestInstallerReplacementRefused::status1CountsAsDone()
{
    m_test->administrator.refusal = ScriptError{1, u"cp: no"_s};
    install();
    QCOMPARE(m_test->journal, QStringList{u"administrator"_s} + m_test->launchThenEnd(u"1.3.0"_s));
    verifyUntouched();
}

void TestInstallerReplacementRefused::everyOtherNumberIsToldAndEndsWithStatus1_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<std::optional<QString>>("words");
    QTest::addColumn<QString>("shown");
    using Words = std::optional<QString>;
    QTest::newRow("canceled") << userCanceled.number << Words(userCanceled.briefMessage) << u"User canceled."_s;
    QTest::newRow("wrong password") << -60005 << Words(u"Incorrect."_s) << u"Incorrect."_s;
    QTest::newRow("status 2") << 2 << Words(u"cp: no"_s) << u"cp: no"_s;
    QTest::newRow("status 126") << 126 << Words(u"cp: not executable"_s) << u"cp: not executable"_s;
    QTest::newRow("status 255") << 255 << Words(u"cp: no"_s) << u"cp: no"_s;
    QTest::newRow("minus one") << -1 << Words(u"interrupted"_s) << u"interrupted"_s;
    QTest::newRow("zero") << 0 << Words(u"odd"_s) << u"odd"_s;
    QTest::newRow("no words") << -128 << Words() << u"(null)"_s;
    QTest::newRow("a placeholder among the words") << 2 << Words(u"cp: '%@'"_s) << u"cp: '%@'"_s;
}

void TestInstallerReplacementRefused::everyOtherNumberIsToldAndEndsWithStatus1()
{
    QFETCH(const int, number);
    QFETCH(const std::optional<QString>, words);
    QFETCH(const QString, shown);
    m_test->administrator.refusal = ScriptError{number, words};
    install();
    QCOMPARE(m_test->journal, (QStringList{u"administrator"_s, u"alert"_s, u"exit 1"_s})); // nothing is started
    verifyAlert(shown);
    verifyUntouched();
}

void TestInstallerReplacementRefused::anApostropheOnTheWayAsksNobody()
{
    const QString home = m_test->world.path(u"o'neill"_s);
    qputenv("XDG_DATA_HOME", QFile::encodeName(home));
    m_test->world.write(home + u"/WayfarInstaller/download.zip"_s, Replacement::archiveOf(u"1.3.0"_s));
    m_test->installAsThePlayer(u"1.3.0"_s, std::nullopt);
    QCOMPARE(m_test->journal, (QStringList{u"alert"_s, u"exit 1"_s}));
    verifyAlert(u"sh: 1: Syntax error: Unterminated quoted string"_s);
    QVERIFY(QFile::exists(home + u"/WayfarInstaller/update/WayfarRoutes_1.3.0.app/AppRun"_s)); // unpacked all the same
    QVERIFY(!QFile::exists(m_test->newBundle(u"1.3.0"_s)));
}

// A cp that fails with another status than its usual 1, as on a machine without one.
void TestInstallerReplacementRefused::aCopyThatReallyFailsIsToldOf()
{
    const QByteArray path = qgetenv("PATH");
    const QByteArray archive = Replacement::archiveOf(u"1.3.0"_s);
    m_test->world.write(m_test->world.path(u"tools/cp"_s), "#!/bin/sh\necho 'cp: no room' >&2\nexit 3\n");
    QFile::setPermissions(m_test->world.path(u"tools/cp"_s),
                          QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther);
    qputenv("PATH", QFile::encodeName(m_test->world.path(u"tools"_s)) + ':' + path);
    m_test->installAsThePlayer(u"1.3.0"_s, archive);
    qputenv("PATH", path);
    QCOMPARE(m_test->journal, (QStringList{u"administrator"_s, u"alert"_s, u"exit 1"_s}));
    verifyAlert(u"cp: no room"_s);
    verifyUntouched();
}

void TestInstallerReplacementRefused::theMoveReportsWhetherTheProgramGoesOn_data()
{
    QTest::addColumn<std::optional<int>>("number"); // none: yes
    QTest::addColumn<bool>("goesOn");
    QTest::newRow("yes") << std::optional<int>() << true;
    QTest::newRow("status 1") << std::optional(1) << true;
    QTest::newRow("no") << std::optional(-128) << false;
}

void TestInstallerReplacementRefused::theMoveReportsWhetherTheProgramGoesOn()
{
    QFETCH(const std::optional<int>, number);
    if (number)
        m_test->administrator.refusal = ScriptError{*number, u"no"_s};
    const QString source = m_test->world.path(u"anywhere/Some.app"_s);
    m_test->world.write(source + u"/AppRun"_s, "x");
    const OrdinaryUser player;
    const bool goesOn =
        m_test->delegate.movetoLocation(toPath(source), toPath(m_test->applicationFolder() + u"/Some.app"_s));
    QTEST(goesOn, "goesOn");
    QCOMPARE(m_test->journal.contains(u"exit 1"_s), !goesOn);
}

QTEST_MAIN(TestInstallerReplacementRefused)
#include "TestInstallerReplacementRefused.moc"
