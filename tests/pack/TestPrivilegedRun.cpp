#include "support/Scripts.h"
#include "support/StandIns.h"

#include "pack/PrivilegedRun.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QByteArray copy = "cp -r '%@' '%@'";
}

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
    QTest::newRow("one after the other") << QByteArray("mkdir -p '%@' && cp -r '%@' '%@'")
                                         << Paths{"/parent", "/from", "/parent/to"}
                                         << QByteArray("mkdir -p '/parent' && cp -r '/from' '/parent/to'");
    QTest::newRow("signs of the command's own") << QByteArray("find '%@' -name '*.bak' -exec rm {} +") << Paths{"/WTF"}
                                                << QByteArray("find '/WTF' -name '*.bak' -exec rm {} +");
    QTest::newRow("blanks") << copy << Paths{"/a b", "/c  d/"} << QByteArray("cp -r '/a b' '/c  d/'");
    QTest::newRow("a placeholder in a path") << copy << Paths{"/%@", "/to"} << QByteArray("cp -r '/%@' '/to'");
    QTest::newRow("percent signs") << copy << Paths{"/%1%s", "/%%"} << QByteArray("cp -r '/%1%s' '/%%'");
    QTest::newRow("what a shell would read")
        << copy << Paths{"/$HOME", "/`id`;*"} << QByteArray("cp -r '/$HOME' '/`id`;*'");
    QTest::newRow("a double quote") << copy << Paths{"/a\"b", "/to"} << QByteArray("cp -r '/a\"b' '/to'");
    QTest::newRow("a backslash") << copy << Paths{"/a\\b", "/to"} << QByteArray("cp -r '/a\\b' '/to'");
    QTest::newRow("a line end") << copy << Paths{"/a\nb", "/to"} << QByteArray("cp -r '/a\nb' '/to'");
    QTest::newRow("not UTF-8") << copy << Paths{"/Gr\xf6\xdf\x65", "/to"}
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
    QTest::newRow("words") << userCanceled.briefMessage << u"User canceled."_s;
    QTest::newRow("none") << std::optional<QString>() << u"(null)"_s;
    QTest::newRow("empty") << std::optional(u""_s) << u""_s;
    QTest::newRow("a placeholder in it") << std::optional(u"%@ %1 <b>"_s) << u"%@ %1 <b>"_s;
}

void TestPrivilegedRun::aFailuresReasonIsTheRunnersBriefText()
{
    QFETCH(const std::optional<QString>, brief);
    Administrator administrator;
    administrator.refusal = ScriptError{-128, brief};
    const PrivilegedOutcome outcome = PrivilegedRun::run(administrator, copy, {"/a", "/b"});
    QVERIFY(!outcome.done);
    QTEST(outcome.reason, "reason");
}

void TestPrivilegedRun::theCommandReallyRuns()
{
    const QTemporaryDir folder;
    const FilePath target = toPath(folder.filePath(u"made here"_s));
    Administrator administrator;
    QVERIFY(PrivilegedRun::run(administrator, "mkdir '%@'", {target}).done);
    QVERIFY(FileManager::isDirectory(target));
    QVERIFY(PrivilegedRun::run(administrator, copy, {"/no/such/entry", target / "copy"}).done); // cp ends with 1
    QVERIFY(!FileManager::itemExists(target / "copy"));
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
    QTest::addColumn<QList<FilePath>>("paths");
    using Paths = QList<FilePath>;
    QTest::newRow("in the first path") << Paths{"/h/o'b/x", "/to"};
    QTest::newRow("in the last path") << Paths{"/from", "/h/o'b/x"};
    QTest::newRow("in every path, so that the quotes pair up") << Paths{"/h/o' b/x", "/h/o' b/x"};
    QTest::newRow("two in one path") << Paths{"x' && rm -rf '/y", "/to"};
    QTest::newRow("first character") << Paths{"'/from", "/to"};
    QTest::newRow("last character") << Paths{"/from", "/to'"};
    QTest::newRow("beside a double quote") << Paths{"/a'\"", "/to"};
}

void TestPrivilegedRun::anApostropheStartsNothing()
{
    QFETCH(const QList<FilePath>, paths);
    Administrator administrator;
    const PrivilegedOutcome outcome = PrivilegedRun::run(administrator, copy, paths);
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
