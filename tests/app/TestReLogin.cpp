#include "support/Answers.h"
#include "support/PageScript.h"
#include "support/Program.h"

#include "controls/ElidedLabel.h"
#include "places/Preferences.h"

using namespace Qt::StringLiterals;

class TestReLogin : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { end(); }
    void init();

    void theOtherAccountsPageIsShown();
    void aFailedLoginReplacesThePage_data();
    void aFailedLoginReplacesThePage();
    void withoutAUserNameNoRequestIsMade_data();
    void withoutAUserNameNoRequestIsMade();
    void aPageThatCannotBeKeptLeavesThePaneEmpty();
    void theRefusalsWordsGoToTheLogAlone();
    void theWindowIsPaintedWithTheWaitCursorFirst();

private:
    bool waitForPage(const QString &text) { return waitForText(*delegate().htmlView(), text); }
    QString status() { return m_program->control<ElidedLabel>("statusLabel")->text(); }
    qsizetype logins() { return m_world->vendor().requests("/api/dlCheckUser").size(); }
};

void TestReLogin::initTestCase()
{
    m_world = std::make_unique<TestWorld>();
    m_world->vendor().addAccount(u"rowan"_s, u"secret"_s, "<p>Rowan's page</p>");
    m_world->vendor().addAccount(u"ann"_s, u"other"_s, "<p>Ann's page</p>");
    m_program = std::make_unique<Program>(*m_world);
    QVERIFY(m_program->start());
}

void TestReLogin::init()
{
    storeAccount(u"rowan"_s, u"secret"_s);
    delegate().reLogin();
    QVERIFY(waitForPage(u"Rowan's page"_s));
    m_world->vendor().clearRequests();
}

void TestReLogin::theOtherAccountsPageIsShown()
{
    storeAccount(u"ann"_s, u"other"_s);
    delegate().reLogin();
    QCOMPARE(status(), u"Logged in as ann..."_s);
    QCOMPARE(m_world->vendor().requests().size(), 1); // nothing else is asked for
    QCOMPARE(m_world->vendor().requests("/api/dlCheckUser").value(0).body, "user=ann&pass=other");
    QVERIFY(waitForPage(u"Ann's page"_s));
    QVERIFY(!Preferences::loginFailed.in(m_world->defaults()));
}

void TestReLogin::aFailedLoginReplacesThePage_data()
{
    QTest::addColumn<std::optional<VendorAnswer>>("answer");
    QTest::newRow("a wrong password") << std::optional<VendorAnswer>();
    QTest::newRow("no answer") << std::optional(brokenOff());
}

void TestReLogin::aFailedLoginReplacesThePage()
{
    QFETCH(const std::optional<VendorAnswer>, answer);
    storeAccount(u"rowan"_s, u"guess"_s);
    if (answer)
        m_world->vendor().queueAnswer("/api/dlCheckUser", *answer);
    delegate().reLogin();
    QCOMPARE(status(), u"Incorrect Login..."_s);
    QVERIFY(delegate().isStatusFailure());
    QCOMPARE(logins(), 1);
    QVERIFY(Preferences::loginFailed.in(m_world->defaults()));
    QVERIFY(waitUntil([this] { return textOf(*delegate().htmlView()).startsWith(u"The login did not work"); }));
    QVERIFY(m_program->alert.shown.isEmpty());

    storeAccount(u"rowan"_s, u"secret"_s);
    delegate().reLogin();
    QCOMPARE(status(), u"Logged in as rowan..."_s);
    QVERIFY(!delegate().isStatusFailure());
    QVERIFY(waitForPage(u"Rowan's page"_s));
}

void TestReLogin::withoutAUserNameNoRequestIsMade_data()
{
    QTest::addColumn<QByteArray>("preferences");
    QTest::addColumn<QString>("status");
    QTest::newRow("absent") << QByteArray("{}") << u"Logged in as (null)..."_s;
    QTest::newRow("absent, the last login well")
        << QByteArray(R"({"loginFailed": false})") << u"Logged in as (null)..."_s;
    QTest::newRow("absent, the last login failed") << QByteArray(R"({"loginFailed": true})") << u"Incorrect Login..."_s;
    QTest::newRow("empty") << QByteArray(R"({"wayfaruser": "", "wayfarpasswd": "secret"})") << u"Logged in as ..."_s;
    QTest::newRow("empty, the last login failed")
        << QByteArray(R"({"wayfaruser": "", "loginFailed": true})") << u"Incorrect Login..."_s;
}

void TestReLogin::withoutAUserNameNoRequestIsMade()
{
    QFETCH(const QByteArray, preferences);
    m_world->write(m_world->preferencesFile(), preferences);
    m_world->defaults().synchronize();
    delegate().reLogin();
    QTEST(status(), "status");
    QCOMPARE(logins(), 0);
    QCOMPARE(m_world->read(m_world->preferencesFile()), preferences);
    QVERIFY(waitUntil([this] { return textOf(*delegate().htmlView()).startsWith(u"Welcome, traveller"); }));
}

void TestReLogin::aPageThatCannotBeKeptLeavesThePaneEmpty()
{
    m_world->vendor().queueAnswer("/api/dlCheckUser", answerWith("<p>caf\xc3\xa9</p>"));
    storeAccount(u"%@"_s, u"odd"_s); // shown as it stands, too
    delegate().reLogin();
    QCOMPARE(status(), u"Logged in as %@..."_s);
    QVERIFY(waitForPage(QString()));
}

void TestReLogin::theRefusalsWordsGoToTheLogAlone()
{
    storeAccount(u"rowan"_s, u"guess"_s);
    const QByteArray log = standardErrorOf([this] { delegate().reLogin(); });
    QVERIFY2(log.contains("Login Error: Error|The user name or the password is not correct."), log.constData());
    QVERIFY2(!log.contains("guess"), log.constData());
    QCOMPARE(status(), u"Incorrect Login..."_s);
}

void TestReLogin::theWindowIsPaintedWithTheWaitCursorFirst()
{
    QList<qsizetype> loginsWhenPainted;
    const WaitWatch watch([&] { loginsWhenPainted.append(logins()); });
    delegate().reLogin();
    QCOMPARE(loginsWhenPainted.value(0, -1), 0);
    QCOMPARE(logins(), 1);
    QVERIFY(!QApplication::overrideCursor());
}

QTEST_MAIN(TestReLogin)
#include "TestReLogin.moc"
