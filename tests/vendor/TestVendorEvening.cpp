#include "support/Answers.h"
#include "support/NginxSite.h"
#include "support/Program.h"
#include "support/Replacement.h"

#include "controls/ImageView.h"
#include "pack/FormEncoding.h"
#include "platform/UrlInspector.h"
#include "upgrade/InstallerUpgrade.h"
#include "windows/ChangeLog.h"
#include "windows/LogWindow.h"

#include <QPlainTextEdit>

using namespace Qt::StringLiterals;

namespace
{
UrlRequest formOfRowan(const QString &url)
{
    return FormEncoding::formRequest(url, {{u"user"_s, u"rowan"_s}, {u"pass"_s, u"a+b&c=d"_s}});
}
} // namespace

// The site that a vendor gets from us, in the distribution's nginx, and the program on it.
class TestVendorEvening : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aWholeEveningIsServed();
    void anUpgradeIsServed();
    void theFormsReachTheServiceAsTheyWereSent();
    void formsWithoutAccountsAreFiles();
    void whereNothingRightCanBeAnsweredTheConnectionCloses_data();
    void whereNothingRightCanBeAnsweredTheConnectionCloses();
    void whatRarelyChangesCanBeKeptAndAskedFor_data();
    void whatRarelyChangesCanBeKeptAndAskedFor();

private:
    void serve()
    {
        m_nginx->start();
        m_world->useVendor(m_nginx->network());
    }
    VendorServer &service() { return m_world->vendor(); } // that knows the accounts, behind nginx
    UrlAnswer ask(const UrlRequest &request) { return m_world->loader().sendSynchronousRequest(request); }
    UrlInspection look(const UrlRequest &request)
    {
        return UrlInspector(m_nginx->network()).inspect(request, [](QByteArrayView) {});
    }

    std::unique_ptr<NginxSite> m_nginx;
};

void TestVendorEvening::init()
{
    m_world = std::make_unique<TestWorld>();
    m_nginx = std::make_unique<NginxSite>(m_world->site());
    m_nginx->passFormsTo("https://127.0.0.1:" + QByteArray::number(service().port()));
    m_nginx->publishEvening();
}

void TestVendorEvening::cleanup()
{
    end();
    m_nginx.reset();
}

void TestVendorEvening::aWholeEveningIsServed()
{
    service().addAccount(u"rowan"_s, u"secret"_s, "<p>Rowan's page</p>");
    service().setPack(m_world->zip({{u"Trailbook/Trailbook.toc"_s, "## Version: 1.2.6\n"}}));
    storeAccount(u"rowan"_s, u"secret"_s);
    m_world->installPack("1.2.5");
    serve();
    m_program = std::make_unique<Program>(*m_world);
    QVERIFY(m_program->start());

    QTRY_COMPARE(m_program->statuses, QStringList{u"Logged in as rowan..."_s});
    QCOMPARE(m_world->read(m_world->supportFolder() + u"/account.html"_s), "<p>Rowan's page</p>");
    QVERIFY(m_world->read(m_world->supportFolder() + u"/rssfeed.html"_s).size() > 2000);
    QCOMPARE(delegate().largeImage()->image().size(), QSize(1920, 352));
    QCOMPARE(delegate().smallImage()->image().size(), QSize(600, 200));
    QCOMPARE(delegate().buttonText(), u"Update"_s);

    m_program->click("mainButton");
    QTRY_COMPARE_WITH_TIMEOUT(delegate().buttonText(), u"Play"_s, 20000);
    QCOMPARE(delegate().currentVersion(), u"1.2.6"_s);
    m_program->click("changeLogButton");
    const auto *log = delegate().log()->window()->findChild<QPlainTextEdit *>(u"textView"_s);
    QTRY_VERIFY(log->toPlainText().startsWith(u"Trailbook 1.2.6"_s));
    QVERIFY(m_program->alert.shown.isEmpty());
}

void TestVendorEvening::anUpgradeIsServed()
{
    m_nginx->publish(u"site/api/macVersion"_s, "1.3.0");
    m_nginx->publish(u"download/WayfarRoutes_1.3.0.zip"_s, Replacement::archiveOf(u"1.3.0"_s));
    serve();
    const QString applications = m_world->path(u"applications"_s);
    m_world->write(applications + u"/WayfarRoutes_1.2.6.app/AppRun"_s, "#!/bin/sh\n");
    m_program = std::make_unique<Program>(*m_world);
    standardErrorOf([this] { QVERIFY(delegate().checkInstallerUpdate()); });
    QTRY_COMPARE_WITH_TIMEOUT(m_program->terminations, 1, 10000);
    const QString bundle = applications + u"/WayfarRoutes_1.3.0.app"_s;
    QCOMPARE(m_program->workspace.applications, QStringList{bundle});
    QCOMPARE(m_world->read(bundle + u"/usr/version"_s), "1.3.0");
    QVERIFY(delegate().upgrade()->totalSize() > 0); // a length, so that the bar moves
}

void TestVendorEvening::theFormsReachTheServiceAsTheyWereSent()
{
    service().setAnswer("/api/dlGuide", answerWith(QByteArray(3000000, 'p')));
    serve();
    QCOMPARE(look(formOfRowan(m_world->site().packDownload())).announcedLength, 3000000);
    const VendorRequest request = service().requests().value(0);
    QCOMPARE(request.host, "wayfar.example");
    QCOMPARE(request.body, "user=rowan&pass=a+b&c=d");
    QVERIFY(request.header("User-Agent")->startsWith("WayfarInstaller/"));
    QCOMPARE(request.header("Content-Type"),
             std::optional<QByteArray>("application/x-www-form-urlencoded; charset=utf-8"));
}

void TestVendorEvening::formsWithoutAccountsAreFiles()
{
    m_nginx->answerFormsFromFiles();
    m_nginx->publish(u"site/api/dlCheckUser"_s, "<p>Welcome</p>");
    serve();
    const UrlInspection page = look(formOfRowan(m_world->site().accountCheck()));
    QCOMPARE(page.status, 200);
    QCOMPARE(page.announcedLength, 14);
    QCOMPARE(ask(formOfRowan(m_world->site().accountCheck())).body, std::optional<QByteArray>("<p>Welcome</p>"));
    QCOMPARE(ask(formOfRowan(m_world->site().packDownload())).body, std::nullopt); // there is no such file
    QVERIFY(service().requests().isEmpty());
}

void TestVendorEvening::whereNothingRightCanBeAnsweredTheConnectionCloses_data()
{
    const VendorSite site = {u"wayfar.example"_s, u"download.wayfar.example"_s};
    QTest::addColumn<UrlRequest>("request");
    QTest::newRow("a version that is not there") << UrlRequest{.url = site.packVersion()};
    QTest::newRow("a banner that is not there") << UrlRequest{.url = site.smallBanner()};
    QTest::newRow("a bundle that is not there") << UrlRequest{.url = site.installerArchive(u"9"_s)};
    QTest::newRow("a form to a version") << formOfRowan(site.installerVersion());
    QTest::newRow("a service that fails") << formOfRowan(site.accountCheck());
    QTest::newRow("a service that is gone") << formOfRowan(site.packDownload());
}

void TestVendorEvening::whereNothingRightCanBeAnsweredTheConnectionCloses()
{
    QFETCH(const UrlRequest, request);
    service().setAnswer("/api/dlCheckUser", answerWith("<h1>Out of order</h1>", 500));
    service().setAnswer("/api/dlGuide", brokenOff());
    m_nginx->withdraw(u"site/api/wayfarVersion"_s);
    m_nginx->withdraw(u"site/installer/banners/small.png"_s);
    serve();
    QCOMPARE(ask(request).body, std::nullopt);
}

void TestVendorEvening::whatRarelyChangesCanBeKeptAndAskedFor_data()
{
    const VendorSite site = {u"wayfar.example"_s, u"download.wayfar.example"_s};
    QTest::addColumn<QString>("url");
    QTest::addColumn<QByteArray>("caching");
    QTest::newRow("banner") << site.largeBanner() << QByteArray("public, max-age=300");
    QTest::newRow("bundle") << site.installerArchive(u"1.3.0"_s) << QByteArray("public, max-age=31536000, immutable");
}

void TestVendorEvening::whatRarelyChangesCanBeKeptAndAskedFor()
{
    QFETCH(const QString, url);
    QFETCH(const QByteArray, caching);
    m_nginx->publish(u"download/WayfarRoutes_1.3.0.zip"_s, "an archive");
    serve();
    const UrlInspection fresh = look({.url = url});
    QCOMPARE(fresh.status, 200);
    QCOMPARE(fresh.header("Cache-Control"), caching);
    QVERIFY(!fresh.header("Last-Modified").isEmpty());
    QCOMPARE(look({.url = url, .headers = {{"If-None-Match", fresh.header("ETag")}}}).status, 304);
}

QTEST_MAIN(TestVendorEvening)
#include "TestVendorEvening.moc"
