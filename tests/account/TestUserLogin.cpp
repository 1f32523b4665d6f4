#include "account/UserLogin.h"

#include "account/AccountPages.h"
#include "places/Preferences.h"
#include "support/Answers.h"
#include "support/TestWorld.h"

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

    void withoutAUserNameNothingIsAskedAndTheFlagStays_data();
    void withoutAUserNameNothingIsAskedAndTheFlagStays();
    void withoutAUserNameThePageIsAWordOfWelcome();
    void theAccountIsPostedToTheBareHost();
    void anAbsentPasswordIsNotSent();
    void anEmptyPasswordIsSent();

    void aBodyThatBeginsWithErrorIsARefusal_data();
    void aBodyThatBeginsWithErrorIsARefusal();
    void anyOtherBodyIsThePage_data();
    void anyOtherBodyIsThePage();
    void aBodyThatIsNoAsciiIsASuccessWithoutAPage_data();
    void aBodyThatIsNoAsciiIsASuccessWithoutAPage();
    void aTransportErrorIsAFailedLogin_data();
    void aTransportErrorIsAFailedLogin();

    void everyLoginReplacesThePage();
    void theLogHoldsTheAnswerAndNoCredentials();
    void withoutASupportFolderTheFlagIsStoredAllTheSame_data();
    void withoutASupportFolderTheFlagIsStoredAllTheSame();
    void aPageThatCannotBeReplacedIsNoError();
    void theFixedPagesAreDifferentDocuments();

private:
    QString page() const { return m_world->supportFolder() + u"/account.html"_s; }
    QJsonValue flag() const { return m_world->defaults().objectForKey(Preferences::loginFailed.key); }
    void answer(const VendorAnswer &answer) { m_world->vendor().setAnswer("/api/dlCheckUser", answer); }
    void store(const QString &user, const std::optional<QString> &password);
    UserLogin login() const;

    std::unique_ptr<TestWorld> m_world;
};

void TestUserLogin::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->write(page(), "a stale page");
}

void TestUserLogin::store(const QString &user, const std::optional<QString> &password)
{
    m_world->defaults().setObject(Preferences::userName.key, user);
    if (password)
        m_world->defaults().setObject(Preferences::password.key, *password);
}

UserLogin TestUserLogin::login() const
{
    UserLogin login;
    login.use(m_world->defaults(), m_world->loader(), m_world->site());
    return login;
}

void TestUserLogin::thereIsOneLogin()
{
    QCOMPARE(&UserLogin::loginUser(), &UserLogin::loginUser());
}

void TestUserLogin::loggingOutEndsNothing()
{
    store(u"ann"_s, u"key"_s);
    m_world->defaults().setObject(Preferences::loginFailed.key, false);
    login().logOut();
    QVERIFY(m_world->vendor().requests().isEmpty());
    QCOMPARE(flag(), QJsonValue(false));
    QCOMPARE(m_world->defaults().stringForKey(Preferences::userName.key), std::optional(u"ann"_s));
    QCOMPARE(m_world->read(page()), "a stale page");
}

void TestUserLogin::theFormIsEncodedAsThePacksIs()
{
    const FormPairs pairs = {{u"user"_s, u"a b"_s}, {u"pass"_s, u"+&=ü#"_s}};
    QCOMPARE(login().encodeDictionary(pairs), "user=a%20b&pass=+&=%C3%BC%23");
    QCOMPARE(login().encodeDictionary(pairs), FormEncoding::encodeDictionary(pairs));
}

void TestUserLogin::withoutAUserNameNothingIsAskedAndTheFlagStays_data()
{
    QTest::addColumn<std::optional<QString>>("user");
    QTest::addColumn<std::optional<QString>>("password");
    QTest::addColumn<QJsonValue>("before");
    const std::optional<QString> nothing;
    const std::optional<QString> key = u"key"_s;
    QTest::newRow("absent, had failed") << nothing << key << QJsonValue(true);
    QTest::newRow("absent, had succeeded") << nothing << key << QJsonValue(false);
    QTest::newRow("absent, never tried") << nothing << key << QJsonValue(QJsonValue::Undefined);
    QTest::newRow("absent with its password") << nothing << nothing << QJsonValue(true);
    QTest::newRow("empty, had failed") << std::optional(u""_s) << key << QJsonValue(true);
    QTest::newRow("empty, had succeeded") << std::optional(u""_s) << key << QJsonValue(false);
}

void TestUserLogin::withoutAUserNameNothingIsAskedAndTheFlagStays()
{
    QFETCH(const std::optional<QString>, user);
    QFETCH(const std::optional<QString>, password);
    QFETCH(const QJsonValue, before);
    if (user)
        m_world->defaults().setObject(Preferences::userName.key, *user);
    if (password)
        m_world->defaults().setObject(Preferences::password.key, *password);
    if (!before.isUndefined())
        m_world->defaults().setObject(Preferences::loginFailed.key, before);
    QVERIFY(login().performLogin());
    QVERIFY(m_world->vendor().requests().isEmpty());
    QCOMPARE(flag(), before);
}

void TestUserLogin::withoutAUserNameThePageIsAWordOfWelcome()
{
    UserLogin login = this->login();
    QVERIFY(login.performLogin());
    QCOMPARE(m_world->read(page()), AccountPages::welcome().toUtf8());
    QCOMPARE(login.userLoginHtmlStr(), std::nullopt);
}

void TestUserLogin::theAccountIsPostedToTheBareHost()
{
    store(u"a b"_s, u"1+1&ü"_s);
    QVERIFY(login().performLogin());
    QCOMPARE(m_world->vendor().requests().size(), 1);
    const VendorRequest request = m_world->vendor().requests().constFirst();
    QCOMPARE(request.method, "POST");
    QCOMPARE(request.path, "/api/dlCheckUser");
    QCOMPARE(request.host, "wayfar.example");
    QCOMPARE(request.body, "user=a%20b&pass=1+1&%C3%BC");
    QCOMPARE(request.header("Content-Length"), std::optional<QByteArray>("26"));
    QCOMPARE(request.headerCount("Content-Length"), 1);
    QCOMPARE(request.header("Content-Type"),
             std::optional<QByteArray>("application/x-www-form-urlencoded charset=utf-8"));
}

void TestUserLogin::anAbsentPasswordIsNotSent()
{
    store(u"ann"_s, std::nullopt);
    QVERIFY(login().performLogin());
    QCOMPARE(m_world->vendor().requests().value(0).body, "user=ann");
}

void TestUserLogin::anEmptyPasswordIsSent()
{
    store(u"ann"_s, u""_s);
    QVERIFY(login().performLogin());
    QCOMPARE(m_world->vendor().requests().value(0).body, "user=ann&pass=");
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
    store(u"ann"_s, u"key"_s);
    m_world->defaults().setObject(Preferences::loginFailed.key, false);
    VendorAnswer refusal = answerWith(body);
    refusal.status = status;
    answer(refusal);
    UserLogin login = this->login();
    const QByteArray log = standardErrorOf([&] { QVERIFY(login.performLogin()); });
    QCOMPARE(log, "Login started\nLogin Error: " + body + '\n');
    QCOMPARE(flag(), QJsonValue(true));
    QCOMPARE(m_world->read(page()), AccountPages::loginFailed().toUtf8());
    QCOMPARE(login.userLoginHtmlStr(), std::optional(page()));
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
    store(u"ann"_s, u"key"_s);
    m_world->defaults().setObject(Preferences::loginFailed.key, true);
    VendorAnswer good = answerWith(body);
    good.status = status;
    answer(good);
    UserLogin login = this->login();
    const QByteArray log = standardErrorOf([&] { QVERIFY(login.performLogin()); });
    QCOMPARE(log, "Login started\n");
    QCOMPARE(flag(), QJsonValue(false));
    QVERIFY(QFileInfo::exists(page()));
    QCOMPARE(m_world->read(page()), body);
    QCOMPARE(login.userLoginHtmlStr(), std::optional(QString::fromLatin1(body)));
}

void TestUserLogin::aBodyThatIsNoAsciiIsASuccessWithoutAPage_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("UTF-8") << QByteArray("<p>Grüße</p>");
    QTest::newRow("no UTF-8 either") << QByteArray("<p>Gr\xfc\xdf"
                                                   "e</p>");
    QTest::newRow("no UTF-8, so it begins with nothing") << QByteArray("Error|ung\xfcltig");
    QTest::newRow("Error| behind a byte-order mark") << QByteArray("\xef\xbb\xbf"
                                                                   "Error|no");
}

void TestUserLogin::aBodyThatIsNoAsciiIsASuccessWithoutAPage()
{
    QFETCH(const QByteArray, body);
    store(u"ann"_s, u"key"_s);
    m_world->defaults().setObject(Preferences::loginFailed.key, true);
    answer(answerWith(body));
    UserLogin login = this->login();
    QVERIFY(login.performLogin());
    QCOMPARE(flag(), QJsonValue(false));
    QVERIFY(!QFileInfo::exists(page()));
    QCOMPARE(login.userLoginHtmlStr(), std::nullopt);
}

void TestUserLogin::aTransportErrorIsAFailedLogin_data()
{
    QTest::addColumn<std::function<void(TestWorld &)>>("prepare");
    const auto row = [](const char *name, const std::function<void(TestWorld &)> &prepare) {
        QTest::newRow(name) << prepare;
    };
    row("no connection", [](TestWorld &world) { world.goOffline(); });
    row("connection lost", [](TestWorld &world) {
        VendorAnswer lost = answerWith("<p>page</p>");
        lost.resetAfter = 5;
        world.vendor().setAnswer("/api/dlCheckUser", lost);
    });
    row("time-out", [](TestWorld &world) {
        VendorAnswer silent;
        silent.stallAfter = -1;
        world.vendor().setAnswer("/api/dlCheckUser", silent);
        world.useVendor(networkOf(world.vendor(), 1));
    });
    row("name unknown", [](TestWorld &world) {
        UrlLoaderSettings network = networkOf(world.vendor());
        network.connectTo = {"::" + QByteArray(64, 'a') + ":443"}; // too long a label: no name server is asked
        world.useVendor(network);
    });
    row("vendor not trusted", [](TestWorld &world) {
        world.useVendor({.connectTo = world.vendor().connectTo()}); // with the system's authorities
    });
}

void TestUserLogin::aTransportErrorIsAFailedLogin()
{
    QFETCH(const std::function<void(TestWorld &)>, prepare);
    store(u"ann"_s, u"key"_s);
    m_world->defaults().setObject(Preferences::loginFailed.key, false);
    prepare(*m_world);
    UserLogin login = this->login();
    const QByteArray log = standardErrorOf([&] { QVERIFY(login.performLogin()); });
    QCOMPARE(log, "Login started\nLogin Error: (null)\n");
    QCOMPARE(flag(), QJsonValue(true));
    QCOMPARE(m_world->read(page()), AccountPages::loginFailed().toUtf8());
    QCOMPARE(login.userLoginHtmlStr(), std::optional(page()));
}

void TestUserLogin::everyLoginReplacesThePage()
{
    store(u"ann"_s, u"key"_s);
    UserLogin login = this->login();
    for (const QByteArray body : {"<p>one</p>", "Error|no", "<p>two</p>", "<p>drei \xc3\xbc</p>", "<p>four</p>"})
        m_world->vendor().queueAnswer("/api/dlCheckUser", answerWith(body));
    const QByteArray failed = AccountPages::loginFailed().toUtf8();
    for (const QByteArray &expected :
         {QByteArray("<p>one</p>"), failed, QByteArray("<p>two</p>"), QByteArray(), QByteArray("<p>four</p>")}) {
        QVERIFY(login.performLogin());
        QCOMPARE(m_world->read(page()), expected);
    }
    QCOMPARE(m_world->vendor().requests().size(), 5);
}

void TestUserLogin::theLogHoldsTheAnswerAndNoCredentials()
{
    store(u"somebody"_s, u"hush-hush"_s);
    QByteArray log = standardErrorOf([&] { login().performLogin(); }); // the vendor knows no such account
    m_world->goOffline();
    log += standardErrorOf([&] { login().performLogin(); });
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
    store(u"ann"_s, u"key"_s);
    m_world->defaults().setObject(Preferences::loginFailed.key, !failed);
    answer(answerWith(body));
    m_world->write(m_world->path(u"plain"_s), "a file, where the folder should be");
    qputenv("XDG_DATA_HOME", m_world->path(u"plain"_s).toLocal8Bit());
    UserLogin login = this->login();
    QVERIFY(login.performLogin());
    QCOMPARE(flag(), QJsonValue(failed));
    QCOMPARE(m_world->read(page()), "a stale page");
    QVERIFY(!QFileInfo::exists(u"/account.html"_s));
    QTEST(login.userLoginHtmlStr(), "returned");
}

void TestUserLogin::aPageThatCannotBeReplacedIsNoError()
{
    store(u"ann"_s, u"key"_s);
    answer(answerWith("<p>page</p>"));
    QVERIFY(QFile::setPermissions(m_world->supportFolder(), QFile::Permissions(0x5555)));
    const QString authority = m_world->path(u"authority.pem"_s); // one that an ordinary user may read
    m_world->write(authority, m_world->read(m_world->vendor().caFile()));
    m_world->useVendor({.caFile = authority, .connectTo = m_world->vendor().connectTo()});
    {
        const OrdinaryUser user;
        QVERIFY(!QFile(m_world->supportFolder() + u"/try"_s).open(QIODevice::WriteOnly));
        QVERIFY(login().performLogin());
    }
    QCOMPARE(m_world->read(page()), "a stale page");
    QVERIFY(!m_world->defaults().boolForKey(Preferences::loginFailed.key));
}

void TestUserLogin::theFixedPagesAreDifferentDocuments()
{
    QVERIFY(AccountPages::welcome() != AccountPages::loginFailed());
    for (const QString &document : {AccountPages::welcome(), AccountPages::loginFailed()}) {
        QVERIFY(document.startsWith(u"<!DOCTYPE html>"_s));
        QVERIFY(document.contains(u"<strong>Settings</strong>"_s));
        QVERIFY(!document.contains(u"%@"_s));
        QVERIFY(!document.contains(u"src="_s) && !document.contains(u"http"_s)); // complete in itself
    }
}

QTEST_GUILESS_MAIN(TestUserLogin)
#include "TestUserLogin.moc"
