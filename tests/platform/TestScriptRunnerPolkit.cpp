#include "platform/ScriptRunner.h"

#include "support/Scripts.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

// The real pkexec and the real polkit; polkit/with-polkit.sh makes their world and says what its rules are.

namespace
{
// Somebody at this program's password prompts.
class Agent
{
public:
    explicit Agent(const QString &answer)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QCoreApplication::applicationDirPath() + u"/agent.py"_s,
                        {QString::number(QCoreApplication::applicationPid()), answer});
    }
    ~Agent()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Agent)

    bool isReady() { return hears("READY"); }
    int prompts()
    {
        m_process.waitForReadyRead(0);
        m_heard += m_process.readAllStandardOutput();
        return static_cast<int>(m_heard.count("ASKED org.freedesktop.policykit.exec\n"));
    }

private:
    bool hears(const QByteArray &word)
    {
        while (!m_heard.contains(word) && m_process.waitForReadyRead(20000))
            m_heard += m_process.readAllStandardOutput();
        return m_heard.contains(word);
    }

    QProcess m_process;
    QByteArray m_heard;
};
} // namespace

class TestScriptRunnerPolkit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(::geteuid() != 0, "start it with polkit/with-polkit.sh"); }
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void anAllowedCommandHasRootsRights();
    void anAllowedCommandsStatusIsTheErrorNumber_data();
    void anAllowedCommandsStatusIsTheErrorNumber();
    void anAllowedCommandCannotForgeItsStatus();
    void whatRootMakesCanBeReadByThePlayer();
    void oddEnvironmentsAreLeftBehind();
    void aNameNeedNotBeUtf8();
    void theRightPasswordIsAskedForEachTime();
    void aRefusalIsToldApart_data();
    void aRefusalIsToldApart();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QByteArray read(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    // A command that leaves a trace with the number of who ran it.
    QByteArray trace(const QByteArray &words = {}) const
    {
        return scriptOf("id -u >'" + path(u"trace"_s).toUtf8() + "' " + words);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    ScriptRunner m_runner; // the default one, as the program has it
};

void TestScriptRunnerPolkit::anAllowedCommandHasRootsRights()
{
    QCOMPARE(briefOf(m_runner.execute(trace("# rule-yes"))), QString());
    QCOMPARE(read(u"trace"_s), QByteArray("0\n"));
    QCOMPARE(QFileInfo(path(u"trace"_s)).ownerId(), 0U);
}

void TestScriptRunnerPolkit::anAllowedCommandsStatusIsTheErrorNumber_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<int>("number");
    for (const int status : {0, 1, 2, 3, 126, 127, 128, 255})
        QTest::addRow("exit %d", status) << "exit " + QByteArray::number(status) << status;
    QTest::newRow("killed") << QByteArray("kill -KILL $$") << 137;
    QTest::newRow("not found") << QByteArray("/no/such/tool") << 127;
    QTest::newRow("a syntax error") << QByteArray("'") << 2;
    QTest::newRow("the waiting shell killed") << QByteArray("kill -KILL $PPID") << -2700;
}

void TestScriptRunnerPolkit::anAllowedCommandsStatusIsTheErrorNumber()
{
    QFETCH(const QByteArray, command);
    QFETCH(const int, number);
    QCOMPARE(numberOf(m_runner.execute(scriptOf(": rule-yes\n" + command))), number);
}

void TestScriptRunnerPolkit::anAllowedCommandCannotForgeItsStatus()
{
    const auto error = m_runner.execute(scriptOf("{ echo; echo X0; echo rule-yes; } >&2; kill -KILL $PPID"));
    QCOMPARE(numberOf(error), -2700);
    QCOMPARE(briefOf(error), u"The command was interrupted."_s);
}

void TestScriptRunnerPolkit::whatRootMakesCanBeReadByThePlayer()
{
    const mode_t before = ::umask(077);
    const auto error = m_runner.execute(scriptOf("echo rule-yes >'" + path(u"made"_s).toUtf8() + "'"));
    ::umask(before);
    QVERIFY(!error);
    QCOMPARE(read(u"made"_s), QByteArray("rule-yes\n"));
}

void TestScriptRunnerPolkit::oddEnvironmentsAreLeftBehind()
{
    const QList<const char *> odd = {"SHELL", "TERM", "XAUTHORITY"};
    for (const char *name : odd)
        qputenv(name, "%/../odd");
    const auto error = m_runner.execute(scriptOf("true # rule-yes"));
    for (const char *name : odd)
        qunsetenv(name);
    QCOMPARE(briefOf(error), QString());
}

void TestScriptRunnerPolkit::aNameNeedNotBeUtf8()
{
    const QByteArray name = path(u"Gr"_s).toLocal8Bit() + "\xf6\xdf\x65"; // Latin-1
    QVERIFY(!m_runner.execute(scriptOf("echo rule-yes >'" + name + "'")));
    QCOMPARE(::access(name.constData(), R_OK), 0);
    QCOMPARE(::unlink(name.constData()), 0);
}

void TestScriptRunnerPolkit::theRightPasswordIsAskedForEachTime()
{
    Agent agent(u"adminpw"_s);
    QVERIFY(agent.isReady());
    QCOMPARE(briefOf(m_runner.execute(trace())), QString());
    QCOMPARE(read(u"trace"_s), QByteArray("0\n"));
    for (const int status : {126, 127}) // the command's own, not a refusal
        QCOMPARE(numberOf(m_runner.execute(scriptOf("exit " + QByteArray::number(status)))), status);
    QTRY_COMPARE(agent.prompts(), 3);
}

void TestScriptRunnerPolkit::aRefusalIsToldApart_data()
{
    QTest::addColumn<QString>("answer"); // at the prompt; nobody is there when it is empty
    QTest::addColumn<QByteArray>("words"); // in the command, for the rules
    QTest::addColumn<int>("prompts");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("brief");
    const QString wrong = u"The administrator user name or password was incorrect."_s;
    QTest::newRow("by a rule") << u""_s << QByteArray("# rule-no") << 0 << -60005 << wrong;
    QTest::newRow("without an agent") << u""_s << QByteArray() << 0 << -60007 << u"No authentication agent found."_s;
    QTest::newRow("wrong password") << u"guess"_s << QByteArray() << 1 << -60005 << wrong;
    QTest::newRow("cancelled") << u"cancel"_s << QByteArray() << 1 << -128 << u"User canceled."_s;
}

void TestScriptRunnerPolkit::aRefusalIsToldApart()
{
    QFETCH(const QString, answer);
    QFETCH(const QByteArray, words);
    QFETCH(const int, prompts);
    std::optional<Agent> agent;
    if (!answer.isEmpty()) {
        agent.emplace(answer);
        QVERIFY(agent->isReady());
    }
    const auto error = m_runner.execute(trace(words));
    QTEST(numberOf(error), "number");
    QTEST(briefOf(error), "brief");
    QVERIFY(!QFile::exists(path(u"trace"_s)));
    if (agent)
        QTRY_COMPARE(agent->prompts(), prompts);
}

QTEST_GUILESS_MAIN(TestScriptRunnerPolkit)
#include "TestScriptRunnerPolkit.moc"
