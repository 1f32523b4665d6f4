#include "support/Scripts.h"
#include "support/StandIns.h"

#include "pack/PrivilegedRun.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QByteArray Replace = "rm -rf '%@' && cp -r '%@' '%@'";
const QByteArray CreateParent = "mkdir -p '%@' && cp -r '%@' '%@'";
const QByteArray Copy = "cp -r '%@' '%@'";
const QByteArray Find = "find '%@' -type f -name 'Trailbook.lua' -exec rm {} + && "
                        "find '%@' -type f -name 'Trailbook.lua.bak' -exec rm {} +";
const QByteArray RemoveTwo = "rm -rf '%@'  && rm -rf '%@'";

} // namespace

class TestPrivilegedRun : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fillsThePathsRawAndInOrder_data();
    void fillsThePathsRawAndInOrder();
    void onlyNoErrorAndOneAreSuccesses_data();
    void onlyNoErrorAndOneAreSuccesses();
    void aFailuresReasonIsTheRunnersBriefText_data();
    void aFailuresReasonIsTheRunnersBriefText();
    void theCommandReallyRuns();
    void aMissingSourceCountsAsDone();
    void whatCannotBeCompiledFails_data();
    void whatCannotBeCompiledFails();
    void anApostropheStartsNothing_data();
    void anApostropheStartsNothing();
    void whatTheShellReadsOutsideTheQuotesFails();
};

void TestPrivilegedRun::fillsThePathsRawAndInOrder_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QList<FilePath>>("paths");
    QTest::addColumn<QByteArray>("filled");
    using Paths = QList<FilePath>;
    QTest::newRow("replace") << Replace << Paths{"/to", "/from", "/to"}
                             << QByteArray("rm -rf '/to' && cp -r '/from' '/to'");
    QTest::newRow("create the parent") << CreateParent << Paths{"/parent", "/from", "/parent/to"}
                                       << QByteArray("mkdir -p '/parent' && cp -r '/from' '/parent/to'");
    QTest::newRow("copy") << Copy << Paths{"/from", "/to"} << QByteArray("cp -r '/from' '/to'");
    QTest::newRow("find") << Find << Paths{"/WTF", "/WTF"}
                          << QByteArray("find '/WTF' -type f -name 'Trailbook.lua' -exec rm {} + && "
                                        "find '/WTF' -type f -name 'Trailbook.lua.bak' -exec rm {} +");
    QTest::newRow("blanks") << Copy << Paths{"/a b", "/c  d/"} << QByteArray("cp -r '/a b' '/c  d/'");
    QTest::newRow("a placeholder in a path") << Copy << Paths{"/%@", "/to"} << QByteArray("cp -r '/%@' '/to'");
    QTest::newRow("percent signs") << Copy << Paths{"/%1%s", "/%%"} << QByteArray("cp -r '/%1%s' '/%%'");
    QTest::newRow("what a shell would read")
        << Copy << Paths{"/$HOME", "/`id`;*"} << QByteArray("cp -r '/$HOME' '/`id`;*'");
    QTest::newRow("a double quote") << Copy << Paths{"/a\"b", "/to"} << QByteArray("cp -r '/a\"b' '/to'");
    QTest::newRow("a backslash") << Copy << Paths{"/a\\b", "/to"} << QByteArray("cp -r '/a\\b' '/to'");
    QTest::newRow("a line end") << Copy << Paths{"/a\nb", "/to"} << QByteArray("cp -r '/a\nb' '/to'");
    QTest::newRow("not UTF-8") << Copy << Paths{"/Gr\xf6\xdf\x65", "/to"}
                               << QByteArray("cp -r '/Gr\xf6\xdf\x65' '/to'");
}

void TestPrivilegedRun::fillsThePathsRawAndInOrder()
{
    QFETCH(const QByteArray, command);
    QFETCH(const QList<FilePath>, paths);
    QFETCH(const QByteArray, filled);
    Administrator administrator;
    administrator.refusal = userCanceled;
    (void)PrivilegedRun::run(administrator, command, paths);
    QCOMPARE(administrator.scripts, QList<QByteArray>{scriptOf(filled)});
}

void TestPrivilegedRun::onlyNoErrorAndOneAreSuccesses_data()
{
    QTest::addColumn<std::optional<int>>("number");
    QTest::addColumn<bool>("success");
    QTest::newRow("no error") << std::optional<int>() << true;
    QTest::newRow("1") << std::optional(1) << true;
    for (const int number : {0, 2, 3, 64, 126, 127, 128, 255, 257, -1, -128, -2700, -2741, -60005, -60007})
        QTest::addRow("%d", number) << std::optional(number) << false;
}

void TestPrivilegedRun::onlyNoErrorAndOneAreSuccesses()
{
    QFETCH(const std::optional<int>, number);
    QFETCH(const bool, success);
    Administrator administrator;
    if (number)
        administrator.refusal = ScriptError{*number, u"no"_s};
    QCOMPARE(PrivilegedRun::run(administrator, "true '%@'", {"/x"}).done, success);
}

void TestPrivilegedRun::aFailuresReasonIsTheRunnersBriefText_data()
{
    QTest::addColumn<std::optional<QString>>("brief");
    QTest::addColumn<QString>("reason");
    QTest::newRow("words") << std::optional(u"User canceled."_s) << u"User canceled."_s;
    QTest::newRow("none") << std::optional<QString>() << u"(null)"_s;
    QTest::newRow("empty") << std::optional(u""_s) << u""_s;
    QTest::newRow("a placeholder in it") << std::optional(u"%@ %1 <b>"_s) << u"%@ %1 <b>"_s;
}

void TestPrivilegedRun::aFailuresReasonIsTheRunnersBriefText()
{
    QFETCH(const std::optional<QString>, brief);
    QFETCH(const QString, reason);
    Administrator administrator;
    administrator.refusal = ScriptError{-128, brief};
    const PrivilegedOutcome outcome = PrivilegedRun::run(administrator, Copy, {"/a", "/b"});
    QVERIFY(!outcome.done);
    QCOMPARE(outcome.reason, reason);
}

void TestPrivilegedRun::theCommandReallyRuns()
{
    const QTemporaryDir folder;
    const FilePath target = toPath(folder.filePath(u"made here"_s));
    Administrator administrator;
    QVERIFY(PrivilegedRun::run(administrator, "mkdir '%@'", {target}).done);
    QVERIFY(FileManager::isDirectory(target));
}

void TestPrivilegedRun::aMissingSourceCountsAsDone()
{
    const QTemporaryDir folder;
    const FilePath target = toPath(folder.filePath(u"target"_s));
    Administrator administrator;
    QVERIFY(PrivilegedRun::run(administrator, Copy, {"/no/such/entry", target}).done);
    QVERIFY(!FileManager::itemExists(target)); // cp ended with 1
}

void TestPrivilegedRun::whatCannotBeCompiledFails_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("a double quote") << QByteArray("a\"b");
    QTest::newRow("two double quotes") << QByteArray("\"a\"");
    QTest::newRow("a backslash") << QByteArray("a\\b");
    QTest::newRow("a backslash at the end") << QByteArray("a\\");
}

void TestPrivilegedRun::whatCannotBeCompiledFails()
{
    QFETCH(const QByteArray, name);
    const QTemporaryDir folder;
    const FilePath target = toPath(folder.path()) / name.toStdString();
    Administrator administrator;
    const PrivilegedOutcome outcome = PrivilegedRun::run(administrator, "mkdir '%@'", {target});
    QVERIFY(!outcome.done);
    QCOMPARE(outcome.reason, u"Expected end of line but found unknown token."_s);
    QVERIFY(QDir(folder.path()).isEmpty());
}

void TestPrivilegedRun::anApostropheStartsNothing_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QList<FilePath>>("paths");
    const QList<std::pair<const char *, QByteArray>> templates = {{"replace", Replace},
                                                                  {"create the parent", CreateParent},
                                                                  {"copy", Copy},
                                                                  {"find", Find},
                                                                  {"remove two", RemoveTwo}};
    for (const auto &[name, command] : templates) {
        const qsizetype count = command.count("%@");
        for (qsizetype at = 0; at < count; ++at) {
            QList<FilePath> paths(count, "/plain");
            paths[at] = "/h/o'b/x";
            QTest::addRow("%s, path %d", name, static_cast<int>(at)) << command << paths;
        }
        // Here the quotes pair up again.
        QTest::addRow("%s, every path", name) << command << QList<FilePath>(count, "/h/o' b/x");
        QTest::addRow("%s, two in one", name) << command << QList<FilePath>(count, "x' && rm -rf '/y");
    }
    QTest::newRow("first character") << Copy << QList<FilePath>{"'/from", "/to"};
    QTest::newRow("last character") << Copy << QList<FilePath>{"/from", "/to'"};
    QTest::newRow("beside a double quote") << Copy << QList<FilePath>{"/a'\"", "/to"};
}

void TestPrivilegedRun::anApostropheStartsNothing()
{
    QFETCH(const QByteArray, command);
    QFETCH(const QList<FilePath>, paths);
    Administrator administrator;
    const PrivilegedOutcome outcome = PrivilegedRun::run(administrator, command, paths);
    QVERIFY(!outcome.done);
    QCOMPARE(administrator.scripts, QList<QByteArray>()); // no prompt either
    QCOMPARE(outcome.reason, u"sh: 1: Syntax error: Unterminated quoted string"_s);
}

void TestPrivilegedRun::whatTheShellReadsOutsideTheQuotesFails()
{
    // The template's own apostrophes are no reason to stop; the shell judges them.
    Administrator administrator;
    const PrivilegedOutcome outcome = PrivilegedRun::run(administrator, "cp -r '%@", {"/from"});
    QVERIFY(!outcome.done);
    QCOMPARE(administrator.scripts.size(), 1);
    QVERIFY(outcome.reason.endsWith(u"Syntax error: Unterminated quoted string"));
}

QTEST_GUILESS_MAIN(TestPrivilegedRun)
#include "TestPrivilegedRun.moc"
