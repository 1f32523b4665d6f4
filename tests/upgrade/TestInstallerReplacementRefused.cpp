#include "upgrade/InstallerReplacement.h"

#include "support/Replacement.h"
#include "support/Scripts.h"
#include "support/Tree.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

// The application folder is write-protected, as /opt is for a player.
class TestInstallerReplacementRefused : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_test.reset(); }

    void theAdministratorsYesCopiesTheBundle_data();
    void theAdministratorsYesCopiesTheBundle();
    void anythingButYesLeavesEverything_data();
    void anythingButYesLeavesEverything();
    void aQuoteInTheVersionCopiesNothing_data();
    void aQuoteInTheVersionCopiesNothing();
    void aCopyThatReallyFailsIsAFailure();
    void aVersionThatWouldLeadAwayMovesNothing_data();
    void aVersionThatWouldLeadAwayMovesNothing();

private:
    void makeBundle(const QString &version) const
    {
        m_test->world.write(m_test->unpacked(version) + u"/usr/version"_s, version.toUtf8());
    }

    std::unique_ptr<Replacement> m_test;
};

void TestInstallerReplacementRefused::init()
{
    m_test = std::make_unique<Replacement>();
    m_test->closeApplicationFolder();
    const OrdinaryUser player;
    QCOMPARE(FileManager::createEmptyFile(toPath(m_test->applicationFolder() + u"/file"_s)).code,
             FileError::NoWritePermission);
}

// The version comes from the network and becomes a part of both paths.
void TestInstallerReplacementRefused::theAdministratorsYesCopiesTheBundle_data()
{
    QTest::addColumn<QString>("version");
    QTest::newRow("plain") << u"1.3.0"_s;
    QTest::newRow("blanks") << u"1  3 "_s;
    QTest::newRow("percent signs") << u"1%2f..%2f3"_s;
    QTest::newRow("placeholders") << u"%@%1"_s;
    QTest::newRow("two dots") << u".."_s;
    QTest::newRow("a line end") << u"1.3\n"_s;
    QTest::newRow("a command") << u"$(touch x)`touch y`;touch z"_s;
    QTest::newRow("signs of the shell") << u"*?[a]{b,c}~&|<>#!"_s;
    QTest::newRow("an option") << u"-rf"_s;
}

void TestInstallerReplacementRefused::theAdministratorsYesCopiesTheBundle()
{
    QFETCH(const QString, version);
    makeBundle(version);
    const auto outcome = m_test->installAsThePlayer("no archive", version);
    QVERIFY(outcome && outcome->done);
    const QByteArray source = QFile::encodeName(m_test->unpacked(version));
    const QByteArray destination = QFile::encodeName(m_test->newBundle(version));
    QCOMPARE(m_test->administrator.scripts, QByteArrayList{scriptOf("cp -r '" + source + "' '" + destination + "'")});
    QCOMPARE(m_test->versionIn(m_test->newBundle(version)), version.toUtf8());
    QCOMPARE(m_test->versionIn(m_test->unpacked(version)), version.toUtf8()); // only copied
    QCOMPARE(QDir(m_test->applicationFolder()).count(), 4); // beside the running one, and the two dots
}

void TestInstallerReplacementRefused::anythingButYesLeavesEverything_data()
{
    QTest::addColumn<ScriptError>("answer");
    QTest::addColumn<bool>("done");
    QTest::newRow("canceled") << userCanceled << false;
    QTest::newRow("status 1") << ScriptError{1, u"cp: no"_s} << true; // counts as done
    QTest::newRow("status 2") << ScriptError{2, u"cp: no"_s} << false;
}

void TestInstallerReplacementRefused::anythingButYesLeavesEverything()
{
    QFETCH(const ScriptError, answer);
    QFETCH(const bool, done);
    m_test->administrator.refusal = answer;
    const QByteArrayList before = treeOf(m_test->applicationFolder());
    const auto outcome = m_test->installAsThePlayer();
    QVERIFY(outcome);
    QCOMPARE(outcome->done, done);
    QCOMPARE(outcome->reason, done ? QString() : *answer.briefMessage);
    QCOMPARE(treeOf(m_test->applicationFolder()), before);
    QCOMPARE(m_test->versionIn(m_test->unpacked()), "1.3.0");
}

void TestInstallerReplacementRefused::aQuoteInTheVersionCopiesNothing_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<int>("prompts");
    QTest::newRow("a single quote") << u"1'3"_s << 0;
    QTest::newRow("two single quotes") << u"1'; touch x; '3"_s << 0;
    QTest::newRow("a double quote") << u"1\"3"_s << 1; // the runner can't make sense of these, and nothing is run
    QTest::newRow("a backslash") << u"1.3\\"_s << 1;
}

void TestInstallerReplacementRefused::aQuoteInTheVersionCopiesNothing()
{
    QFETCH(const QString, version);
    makeBundle(version);
    const QByteArrayList before = treeOf(m_test->world.path());
    m_test->world.write(m_test->world.archive(), "no archive");
    const auto outcome = m_test->installAsThePlayer(std::nullopt, version);
    QVERIFY(outcome && !outcome->done);
    QTEST(static_cast<int>(m_test->administrator.scripts.size()), "prompts");
    QVERIFY(QFile::remove(m_test->world.archive()));
    QCOMPARE(treeOf(m_test->world.path()), before);

    openToAll(m_test->applicationFolder()); // where no command is needed, it is no obstacle
    QVERIFY(!m_test->installAsThePlayer(std::nullopt, version));
    QCOMPARE(m_test->versionIn(m_test->newBundle(version)), version.toUtf8());
}

// A cp that fails with another status than its usual 1, as on a machine without one.
void TestInstallerReplacementRefused::aCopyThatReallyFailsIsAFailure()
{
    const QByteArray path = qgetenv("PATH");
    const QByteArray archive = Replacement::archiveOf(u"1.3.0"_s);
    runIn(m_test->world.path(u"tools"_s), "printf '#!/bin/sh\\necho cp: no room >&2\\nexit 3\\n' >cp; chmod 755 cp");
    qputenv("PATH", QFile::encodeName(m_test->world.path(u"tools"_s)) + ':' + path);
    const auto outcome = m_test->installAsThePlayer(archive);
    qputenv("PATH", path);
    QVERIFY(outcome && !outcome->done);
    QCOMPARE(outcome->reason, u"cp: no room"_s);
}

void TestInstallerReplacementRefused::aVersionThatWouldLeadAwayMovesNothing_data()
{
    QTest::addColumn<QString>("version");
    QTest::newRow("up") << u"../../precious"_s;
    QTest::newRow("up out of a bundle's folder") << u"1/../../../precious"_s;
    QTest::newRow("down") << u"1/3"_s;
    QTest::newRow("a null") << u"1"_s + QChar(0) + u'3';
}

void TestInstallerReplacementRefused::aVersionThatWouldLeadAwayMovesNothing()
{
    QFETCH(const QString, version);
    openToAll(m_test->applicationFolder());
    // What the slashes would reach: the folders on the way, and what stands at its end.
    for (const QString &folder : {m_test->updateFolder(), m_test->applicationFolder()})
        runIn(folder, "mkdir -p WayfarRoutes_.. WayfarRoutes_1; : >readme");
    m_test->world.write(m_test->updateFolder() + u"/precious.app/file"_s, "precious");
    m_test->world.write(m_test->world.supportFolder() + u"/precious.app/file"_s, "precious");
    m_test->world.write(m_test->updateFolder() + u"/WayfarRoutes_1/3.app/file"_s, "precious");
    m_test->world.write(m_test->world.archive(), zipOf(": >readme"));
    m_test->closeApplicationFolder();
    const QByteArrayList before = treeOf(m_test->world.path());
    QVERIFY(!m_test->installAsThePlayer(std::nullopt, version));
    openToAll(m_test->applicationFolder());
    QVERIFY(!m_test->installAsThePlayer(std::nullopt, version));
    m_test->closeApplicationFolder();
    QCOMPARE(treeOf(m_test->world.path()), before);
}

QTEST_GUILESS_MAIN(TestInstallerReplacementRefused)
#include "TestInstallerReplacementRefused.moc"
