#include "support/PageScript.h"
#include "support/Program.h"

#include "controls/ElidedLabel.h"
#include "places/Preferences.h"

#include <QApplication>

using namespace Qt::StringLiterals;

class TestReLogin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theOtherAccountsPageIsShown();
    void aFailedLoginReplacesThePage_data();
    void aFailedLoginReplacesThePage();
    void withoutAUserNameNoRequestIsMade_data();
    void withoutAUserNameNoRequestIsMade();
    void aPageThatCannotBeKeptLeavesThePaneEmpty();
    void theRefusalsWordsGoToTheLogAlone();
    void nothingElseIsAskedFor();
    void theWindowIsPaintedWithTheWaitCursorFirst();

private:
    void forgetEverything();
    void store(const QString &user, const QString &password);
    AppDelegate &delegate() { return m_program->delegate; }
    QString page() { return textOf(*delegate().htmlView()); }
    QString status() { return m_program->control<ElidedLabel>("statusLabel")->text(); }
    qsizetype logins() { return m_world->vendor().requests("/api/dlCheckUser").size(); }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Program> m_program;
};

void TestReLogin::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->vendor().addAccount(u"rowan"_s, u"secret"_s, "<p>Rowan's page</p>");
    m_world->vendor().addAccount(u"ann"_s, u"other"_s, "<p>Ann's page</p>");
    store(u"rowan"_s, u"secret"_s);
    m_program = std::make_unique<Program>(*m_world);
    QVERIFY(m_program->start());
    QVERIFY(waitForText(*delegate().htmlView(), u"Rowan's page"_s));
    m_world->vendor().clearRequests();
}

void TestReLogin::cleanup()
{
    m_program.reset();
    m_world.reset();
}

void TestReLogin::forgetEverything()
{
    m_world->write(m_world->preferencesFile(), "{}");
    m_world->defaults().synchronize();
}

void TestReLogin::store(const QString &user, const QString &password)
{
    m_world->defaults().setObject(Preferences::userName.key, user);
    m_world->defaults().setObject(Preferences::password.key, password);
}

void TestReLogin::theOtherAccountsPageIsShown()
{
    store(u"ann"_s, u"other"_s);
    delegate().reLogin();
    QCOMPARE(status(), u"Logged in as ann..."_s);
    QCOMPARE(m_world->vendor().requests("/api/dlCheckUser").value(0).body, "user=ann&pass=other");
    QVERIFY(waitForText(*delegate().htmlView(), u"Ann's page"_s));
    QVERIFY(!m_world->defaults().boolForKey(Preferences::loginFailed.key));
}

void TestReLogin::aFailedLoginReplacesThePage_data()
{
    QTest::addColumn<std::optional<qint64>>("resetAfter");
    QTest::newRow("a wrong password") << std::optional<qint64>();
    QTest::newRow("no answer") << std::optional<qint64>(-1);
    QTest::newRow("half an answer") << std::optional<qint64>(3);
}

void TestReLogin::aFailedLoginReplacesThePage()
{
    QFETCH(const std::optional<qint64>, resetAfter);
    store(u"rowan"_s, u"guess"_s);
    if (resetAfter) {
        VendorAnswer broken;
        broken.body = "<p>A page</p>";
        broken.resetAfter = resetAfter;
        m_world->vendor().queueAnswer("/api/dlCheckUser", broken);
    }
    delegate().reLogin();
    QCOMPARE(status(), u"Incorrect Login..."_s);
    QCOMPARE(logins(), 1);
    QVERIFY(m_world->defaults().boolForKey(Preferences::loginFailed.key));
    QVERIFY(waitUntil([this] { return page().startsWith(u"The login did not work"); }));
    QVERIFY(m_program->alert.shown.isEmpty());

    store(u"rowan"_s, u"secret"_s);
    delegate().reLogin();
    QCOMPARE(status(), u"Logged in as rowan..."_s);
    QVERIFY(waitForText(*delegate().htmlView(), u"Rowan's page"_s));
}

void TestReLogin::withoutAUserNameNoRequestIsMade_data()
{
    QTest::addColumn<bool>("absent");
    QTest::addColumn<bool>("failedBefore");
    QTest::addColumn<QString>("status");
    QTest::newRow("absent") << true << false << u"Logged in as (null)..."_s;
    QTest::newRow("absent, the last login failed") << true << true << u"Incorrect Login..."_s;
    QTest::newRow("empty") << false << false << u"Logged in as ..."_s;
    QTest::newRow("empty, the last login failed") << false << true << u"Incorrect Login..."_s;
}

void TestReLogin::withoutAUserNameNoRequestIsMade()
{
    QFETCH(const bool, absent);
    QFETCH(const bool, failedBefore);
    QFETCH(const QString, status);
    if (absent)
        forgetEverything();
    else
        store(u""_s, u"secret"_s);
    m_world->defaults().setObject(Preferences::loginFailed.key, failedBefore);
    delegate().reLogin();
    QCOMPARE(this->status(), status);
    QCOMPARE(logins(), 0);
    QCOMPARE(m_world->defaults().boolForKey(Preferences::loginFailed.key), failedBefore);
    QVERIFY(waitUntil([this] { return page().startsWith(u"Welcome, traveller"); }));
}

void TestReLogin::aPageThatCannotBeKeptLeavesThePaneEmpty()
{
    VendorAnswer page;
    page.body = "<p>caf\xc3\xa9</p>";
    m_world->vendor().queueAnswer("/api/dlCheckUser", page);
    delegate().reLogin();
    QCOMPARE(status(), u"Logged in as rowan..."_s);
    QVERIFY(waitForText(*delegate().htmlView(), QString()));
}

void TestReLogin::theRefusalsWordsGoToTheLogAlone()
{
    store(u"rowan"_s, u"guess"_s);
    const QByteArray log = standardErrorOf([this] { delegate().reLogin(); });
    QVERIFY2(log.contains("Login Error: Error|The user name or the password is not correct."), log.constData());
    QVERIFY2(!log.contains("guess"), log.constData());
    QCOMPARE(status(), u"Incorrect Login..."_s);
}

void TestReLogin::nothingElseIsAskedFor()
{
    delegate().reLogin();
    QCOMPARE(m_world->vendor().requests().size(), 1);
    QCOMPARE(logins(), 1);
}

void TestReLogin::theWindowIsPaintedWithTheWaitCursorFirst()
{
    class Watch : public QObject
    {
    public:
        explicit Watch(const VendorServer &server) : vendor(server) { qApp->installEventFilter(this); }
        bool eventFilter(QObject *watched, QEvent *event) override
        {
            const QCursor *cursor = QApplication::overrideCursor();
            if (event->type() == QEvent::Paint && watched->objectName() == u"statusLabel" && cursor
                && cursor->shape() == Qt::WaitCursor)
                requestsWhenPainted.append(vendor.requests("/api/dlCheckUser").size());
            return QObject::eventFilter(watched, event);
        }
        const VendorServer &vendor;
        QList<qsizetype> requestsWhenPainted;
    } watch(m_world->vendor());
    delegate().reLogin();
    QCOMPARE(watch.requestsWhenPainted.value(0, -1), 0);
    QCOMPARE(logins(), 1);
    QVERIFY(!QApplication::overrideCursor());
}

QTEST_MAIN(TestReLogin)
#include "TestReLogin.moc"
