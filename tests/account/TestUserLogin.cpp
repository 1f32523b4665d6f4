#include "account/UserLogin.h"

#include "account/AccountPages.h"
#include "places/Preferences.h"
#include "support/Outages.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

class TestUserLogin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_world.reset(); }

    void thereIsOneLogin();
    void loggingOutEndsNothing();
    void theFormIsEncodedAsThePacksIs();
    void withoutAUserNameNothingIsAskedAndAWordOfWelcomeIsThePage_data();
    void withoutAUserNameNothingIsAskedAndAWordOfWelcomeIsThePage();
    void theAccountIsPostedToTheBareHost_data();
    void theAccountIsPostedToTheBareHost();
    void aBodyThatBeginsWithErrorIsARefusal_data();
    void aBodyThatBeginsWithErrorIsARefusal();
    void anyOtherBodyIsThePage_data();
    void anyOtherBodyIsThePage();
    void aBodyThatIsNoAsciiIsASuccessWithoutAPage();
    void aTransportErrorIsAFailedLogin_data();
    void aTransportErrorIsAFailedLogin();
    void everyLoginReplacesThePage();
    void theLogHoldsNoCredentials();
    void withoutASupportFolderTheFlagIsStoredAllTheSame_data();
    void withoutASupportFolderTheFlagIsStoredAllTheSame();
    void aPageThatCannotBeReplacedIsNoError();
    void theFixedPagesAreDifferentDocuments();
    void theWelcomeNamesTheThreeSteps();

private:
    static constexpr const char *remotePath = "/api/dlCheckUser";

    QString page() const { return m_world->supportFolder() + u"/account.html"_s; }
    QByteArray written() const { return QFileInfo::exists(page()) ? m_world->read(page()) : "(none)"; }
    QJsonValue flag() const { return m_world->defaults().objectForKey(Preferences::loginFailed.key); }
    // Logs the stored account in; before, the flag says the opposite.
    void verifyLogin(bool failed, const QByteArray &newPage, const std::optional<QString> &returned);

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<UserLogin> m_login;
    QByteArray m_log; // of the last verifyLogin
};

void TestUserLogin::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->write(page(), "a stale page");
    m_login = std::make_unique<UserLogin>();
    m_login->use(m_world->defaults(), m_world->loader(), m_world->site());
}

void TestUserLogin::verifyLogin(bool failed, const QByteArray &newPage, const std::optional<QString> &returned)
{
    m_world->storeAccount(u"ann"_s, u"key"_s);
    m_world->defaults().setObject(Preferences::loginFailed.key, !failed);
    m_log = standardErrorOf([this] { QVERIFY(m_login->performLogin()); });
    QCOMPARE(flag(), QJsonValue(failed));
    QCOMPARE(written(), newPage);
    QCOMPARE(m_login->userLoginHtmlStr(), returned);
}

void TestUserLogin::thereIsOneLogin()
{
    QCOMPARE(&UserLogin::loginUser(), &UserLogin::loginUser());
}

void TestUserLogin::loggingOutEndsNothing()
{
    m_world->storeAccount(u"ann"_s, u"key"_s);
    m_world->defaults().setObject(Preferences::loginFailed.key, false);
    m_login->logOut();
    QVERIFY(m_world->vendor().requests().isEmpty());
    QCOMPARE(flag(), QJsonValue(false));
    QCOMPARE(m_world->defaults().stringForKey(Preferences::userName.key), std::optional(u"ann"_s));
    QCOMPARE(written(), "a stale page");
}

void TestUserLogin::theFormIsEncodedAsThePacksIs()
{
    const FormPairs pairs = {{u"user"_s, u"a b"_s}, {u"pass"_s, u"+&=ü#"_s}};
    QCOMPARE(m_login->encodeDictionary(pairs), FormEncoding::encodeDictionary(pairs));
}

void TestUserLogin::withoutAUserNameNothingIsAskedAndAWordOfWelcomeIsThePage_data()
{
    QTest::addColumn<std::optional<QString>>("user");
    QTest::addColumn<QJsonValue>("before");
    const std::optional<QString> nothing;
    QTest::newRow("absent, had failed") << nothing << QJsonValue(true);
    QTest::newRow("absent, had succeeded") << nothing << QJsonValue(false);
    QTest::newRow("absent, never tried") << nothing << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("empty, had failed") << std::optional(u""_s) << QJsonValue(true);
}

void TestUserLogin::withoutAUserNameNothingIsAskedAndAWordOfWelcomeIsThePage()
{
    QFETCH(const std::optional<QString>, user);
    QFETCH(const QJsonValue, before);
    m_world->storeAccount(user, u"key"_s);
    if (!before.isUndefined())
        m_world->defaults().setObject(Preferences::loginFailed.key, before);
    QVERIFY(m_login->performLogin());
    QVERIFY(m_world->vendor().requests().isEmpty());
    QCOMPARE(flag(), before);
    QCOMPARE(written(), AccountPages::welcome().toUtf8());
    QCOMPARE(m_login->userLoginHtmlStr(), std::nullopt);
}

void TestUserLogin::theAccountIsPostedToTheBareHost_data()
{
    QTest::addColumn<std::optional<QString>>("password");
    QTest::addColumn<QByteArray>("form");
    QTest::newRow("with a password") << std::optional(u"1+1&ü"_s) << QByteArray("user=a%20b&pass=1+1&%C3%BC");
    QTest::newRow("without one") << std::optional<QString>() << QByteArray("user=a%20b");
    QTest::newRow("with an empty one") << std::optional(u""_s) << QByteArray("user=a%20b&pass=");
}

void TestUserLogin::theAccountIsPostedToTheBareHost()
{
    QFETCH(const std::optional<QString>, password);
    QFETCH(const QByteArray, form);
    m_world->storeAccount(u"a b"_s, password);
    QVERIFY(m_login->performLogin());
    QCOMPARE(askedOf(m_world->vendor()), QList<QByteArray>{"POST wayfar.example/api/dlCheckUser " + form});
    const VendorRequest request = m_world->vendor().requests().constFirst();
    QCOMPARE(request.header("Content-Length"), std::optional(QByteArray::number(form.size())));
    QCOMPARE(request.headerCount("Content-Length"), 1);
    QCOMPARE(request.header("Content-Type"),
             std::optional<QByteArray>("application/x-www-form-urlencoded charset=utf-8"));
}

void TestUserLogin::aBodyThatBeginsWithErrorIsARefusal_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("with a message") << 200 << QByteArray("Error|No such user");
    QTest::newRow("alone") << 200 << QByteArray("Error|");
    QTest::newRow("with an error status") << 403 << QByteArray("Error|Forbidden");
    QTest::newRow("in UTF-8") << 200 << QByteArray("Error|Ungültig");
    QTest::newRow("holding a placeholder") << 200 << QByteArray("Error|%@ and 100%");
}

void TestUserLogin::aBodyThatBeginsWithErrorIsARefusal()
{
    QFETCH(const int, status);
    QFETCH(const QByteArray, body);
    m_world->vendor().setAnswer(remotePath, answerWith(body, status));
    verifyLogin(true, AccountPages::loginFailed().toUtf8(), page());
    QCOMPARE(m_log, "Login started\nLogin Error: " + body + '\n');
}

void TestUserLogin::anyOtherBodyIsThePage_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("a fragment") << 200 << QByteArray("<p>Welcome, <b>ann</b></p>\r\n");
    QTest::newRow("Error| later on") << 200 << QByteArray("<p>Error|no</p>");
    QTest::newRow("Error| after a blank") << 200 << QByteArray(" Error|no");
    QTest::newRow("other letter case") << 200 << QByteArray("error|no");
    QTest::newRow("no bar") << 200 << QByteArray("Error: no");
    QTest::newRow("the beginning alone") << 200 << QByteArray("Error");
    QTest::newRow("nothing") << 200 << QByteArray("");
    QTest::newRow("an error status") << 500 << QByteArray("<h1>Internal Server Error</h1>");
    QTest::newRow("every ASCII byte") << 200 << QByteArray("\0\x01\t\x7f", 4);
}

void TestUserLogin::anyOtherBodyIsThePage()
{
    QFETCH(const int, status);
    QFETCH(const QByteArray, body);
    m_world->vendor().setAnswer(remotePath, answerWith(body, status));
    verifyLogin(false, body, QString::fromLatin1(body));
    QCOMPARE(m_log, "Login started\n");
}

void TestUserLogin::aBodyThatIsNoAsciiIsASuccessWithoutAPage()
{
    const QList<QByteArray> bodies = {"<p>Grüße</p>", QByteArray("<p>Gr\xfc\xdf") + "e</p>",
                                      "Error|ung\xfcltig", // no UTF-8, so it begins with nothing
                                      QByteArray("\xef\xbb\xbf") + "Error|no"};
    for (const QByteArray &body : bodies) {
        m_world->vendor().setAnswer(remotePath, answerWith(body));
        verifyLogin(false, "(none)", std::nullopt);
    }
}

void TestUserLogin::aTransportErrorIsAFailedLogin_data()
{
    addOutages("<p>page</p>");
}

void TestUserLogin::aTransportErrorIsAFailedLogin()
{
    QFETCH(const Outage, outage);
    outage.strike(*m_world, remotePath);
    m_login->use(m_world->defaults(), m_world->loader(), m_world->site());
    verifyLogin(true, AccountPages::loginFailed().toUtf8(), page());
    QCOMPARE(m_log, "Login started\nLogin Error: (null)\n");
}

void TestUserLogin::everyLoginReplacesThePage()
{
    m_world->storeAccount(u"ann"_s, u"key"_s);
    const QByteArray failed = AccountPages::loginFailed().toUtf8();
    const QList<std::pair<QByteArray, QByteArray>> answers = {{"<p>one</p>", "<p>one</p>"},
                                                              {"Error|no", failed},
                                                              {"<p>two</p>", "<p>two</p>"},
                                                              {"<p>drei \xc3\xbc</p>", "(none)"},
                                                              {"<p>four</p>", "<p>four</p>"}};
    for (const auto &[body, expected] : answers) {
        m_world->vendor().setAnswer(remotePath, answerWith(body));
        QVERIFY(m_login->performLogin());
        QCOMPARE(written(), expected);
    }
    QCOMPARE(m_world->vendor().requests().size(), 5);
}

void TestUserLogin::theLogHoldsNoCredentials()
{
    m_world->storeAccount(u"somebody"_s, u"hush-hush"_s);
    QByteArray log = standardErrorOf([this] { m_login->performLogin(); }); // the vendor knows no such account
    m_world->stopVendor();
    log += standardErrorOf([this] { m_login->performLogin(); });
    QCOMPARE(log.count("Login Error: "), 2);
    QVERIFY(!log.contains("somebody"));
    QVERIFY(!log.contains("hush-hush"));
}

void TestUserLogin::withoutASupportFolderTheFlagIsStoredAllTheSame_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("failed");
    QTest::addColumn<std::optional<QString>>("returned");
    QTest::newRow("success") << QByteArray("<p>page</p>") << false << std::optional(u"<p>page</p>"_s);
    QTest::newRow("refusal") << QByteArray("Error|no") << true << std::optional<QString>();
}

void TestUserLogin::withoutASupportFolderTheFlagIsStoredAllTheSame()
{
    QFETCH(const QByteArray, body);
    QFETCH(const bool, failed);
    QFETCH(const std::optional<QString>, returned);
    m_world->vendor().setAnswer(remotePath, answerWith(body));
    m_world->write(m_world->path(u"plain"_s), "a file, where the folder should be");
    qputenv("XDG_DATA_HOME", m_world->path(u"plain"_s).toLocal8Bit());
    verifyLogin(failed, "a stale page", returned);
    QVERIFY(!QFileInfo::exists(u"/account.html"_s));
}

void TestUserLogin::aPageThatCannotBeReplacedIsNoError()
{
    m_world->vendor().setAnswer(remotePath, answerWith("<p>page</p>"));
    QVERIFY(QFile::setPermissions(m_world->supportFolder(), QFile::Permissions(0x5555)));
    const QString authority = m_world->path(u"authority.pem"_s); // one that an ordinary user may read
    m_world->write(authority, m_world->read(m_world->vendor().caFile()));
    m_world->useVendor({.caFile = authority, .connectTo = m_world->vendor().connectTo()});
    m_login->use(m_world->defaults(), m_world->loader(), m_world->site());
    m_world->storeAccount(u"ann"_s, u"key"_s);
    {
        const OrdinaryUser user;
        QVERIFY(!QFile(m_world->supportFolder() + u"/try"_s).open(QIODevice::WriteOnly));
        QVERIFY(m_login->performLogin());
    }
    QCOMPARE(m_login->userLoginHtmlStr(), std::optional(u"<p>page</p>"_s)); // not the failure's
    QCOMPARE(written(), "a stale page");
}

void TestUserLogin::theFixedPagesAreDifferentDocuments()
{
    QVERIFY(AccountPages::welcome() != AccountPages::loginFailed());
    for (const QString &document : {AccountPages::welcome(), AccountPages::loginFailed()}) {
        QVERIFY(document.startsWith(u"<!DOCTYPE html>"_s));
        QVERIFY(document.contains(u"<strong>Settings</strong>"_s));
        QVERIFY(!document.contains(u"%@"_s));
        QVERIFY(!document.contains(u"src="_s) && !document.contains(u"http"_s)); // complete in itself
        QVERIFY(!document.contains(u"color"_s) && !document.contains(u'#')); // the pane's, by day and by night
    }
}

void TestUserLogin::theWelcomeNamesTheThreeSteps()
{
    const QString page = AccountPages::welcome();
    QCOMPARE(page.count(u"<li>"_s), 3);
    for (const QString &step : {u"<li><b>Your account</b>"_s, u"<li><b>The game folder</b>"_s,
                                u"<li><b>The launcher</b>"_s, u"_retail_"_s, u"<strong>Update</strong>"_s})
        QVERIFY2(page.contains(step), qPrintable(step));
}

QTEST_GUILESS_MAIN(TestUserLogin)
#include "TestUserLogin.moc"
