#include "support/NginxSite.h"
#include "support/TestWorld.h"

#include <QBuffer>
#include <QImage>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
const VendorSite site = {u"wayfar.localhost"_s, u"download.wayfar.localhost"_s};
const QString page = u"site/api/dlCheckUser"_s;
const QString pack = u"site/api/dlGuide"_s;
const QString bundle = u"download/WayfarRoutes_1.3.0.zip"_s;

QByteArray feedOf(const QByteArray &content)
{
    return "<rss><channel><title>News</title><link>https://wayfar.example</link>\n" + content + "</channel></rss>";
}

QByteArray post(const QByteArray &link, const QByteArray &title)
{
    return "<item>\n<link>" + link + "</link>\n<pubDate>Fri, 20 Nov 2026</pubDate>\n<title>" + title
        + "</title>\n</item>\n";
}

QByteArray pngOf(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    QBuffer png;
    image.save(&png, "PNG");
    return png.data();
}

QByteArray packOf(const QByteArray &version)
{
    return zipOf("mkdir Trailbook; echo '## Version: " + version + "' >Trailbook/Trailbook.toc");
}

QByteArray bundleIn(const QByteArray &folder, const QByteArray &commands = {})
{
    return zipOf("mkdir -p '" + folder + "/usr/bin'; ( cd '" + folder
                 + "'; touch AppRun usr/bin/wayfar-installer; chmod +x AppRun usr/bin/wayfar-installer; " + commands
                 + " )");
}

struct Outcome {
    int status = -1;
    QByteArray said;

    void verifySays(const QByteArray &words) const
    {
        QVERIFY2(said.contains(words), (said + "\nlacks: " + words).constData());
    }
};
} // namespace

// The tool for vendors, as they start it, on the site that they get from us.
class TestCheckVendor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { m_nginx.reset(); }

    void whereAllIsRightItSaysWhatPlayersSee();
    void aSiteMayBeRightOtherwise();
    void everyMistakeIsFoundAndTold_data();
    void everyMistakeIsFoundAndTold();
    void aCertificateAboutToEndIsTold();
    void withoutAnAccountTheFormsGoOutEmpty();
    void theAccountStaysOutOfItsOutput();
    void atATerminalThePasswordIsNotShown();
    void withoutTwoHostsItSaysHowItIsUsed_data();
    void withoutTwoHostsItSaysHowItIsUsed();

private:
    void publish() const;
    Outcome check(const NginxSite &nginx, const QByteArray &account = "rowan\nsecret\n") const;
    Outcome run(const QStringList &arguments, const QByteArray &input) const;

    std::unique_ptr<NginxSite> m_nginx;
    const QByteArray m_pack = packOf("1.2.6");
    const QByteArray m_bundle = bundleIn("WayfarRoutes_1.3.0.app");
};

void TestCheckVendor::initTestCase()
{
    m_nginx = std::make_unique<NginxSite>(site);
    m_nginx->answerFormsFromFiles();
    publish();
    m_nginx->start();
}

void TestCheckVendor::publish() const
{
    m_nginx->publishEvening();
    m_nginx->publish(u"site/api/macVersion"_s, "1.3.0");
    m_nginx->publish(page, "<p>Rowan of the Long Road</p>");
    m_nginx->publish(pack, m_pack);
    m_nginx->publish(bundle, m_bundle);
}

Outcome TestCheckVendor::run(const QStringList &arguments, const QByteArray &input) const
{
    QProcess tool;
    tool.start(QStringLiteral(CHECK_VENDOR), arguments);
    tool.write(input);
    tool.closeWriteChannel();
    tool.waitForFinished();
    return {tool.exitCode(), tool.readAllStandardOutput() + tool.readAllStandardError()};
}

Outcome TestCheckVendor::check(const NginxSite &nginx, const QByteArray &account) const
{
    const QString port = u":%1"_s.arg(nginx.port());
    return run({u"--ca"_s, nginx.network().caFile, site.host + port, site.downloadHost + port}, account);
}

void TestCheckVendor::whereAllIsRightItSaysWhatPlayersSee()
{
    const Outcome outcome = check(*m_nginx);
    for (const char *words :
         {"an older installer than 1.3.0", "8 headlines, the first: Season of the Long Road begins today",
          "shows: <p>Rowan of the Long Road</p>", "a picture of 1920x352", "a picture of 600x200",
          "where pack 1.2.6 is installed", "6 requests, 2 connections", "shows it: Trailbook 1.2.6",
          "installs Trailbook 1.2.6", "puts WayfarRoutes_1.3.0.app beside", "leads to https://www.wayfar.localhost/",
          "The certificate of www.wayfar.localhost is good for", "All is right."})
        outcome.verifySays(words);
    QVERIFY2(!outcome.said.contains("WRONG"), outcome.said.constData());
    QCOMPARE(outcome.status, 0);
}

// No connection is kept, and the news are elsewhere.
void TestCheckVendor::aSiteMayBeRightOtherwise()
{
    const QByteArrayList usual = {"keepalive_timeout 15s;", "location = /feed {"};
    const QByteArrayList other = {
        "keepalive_timeout 0;",
        "location = /feed { return 302 https://www.wayfar.localhost:$server_port/news; } location = /news {"};
    publish();
    m_nginx->publish(u"site/news"_s, feedOf(post("https://a.example", "One")));
    for (int change = 0; change < 2; ++change)
        m_nginx->changeAndRestart(usual[change], other[change]);
    const Outcome outcome = check(*m_nginx);
    for (int change = 0; change < 2; ++change)
        m_nginx->changeAndRestart(other[change], usual[change]);
    QVERIFY2(outcome.status == 0, outcome.said.constData());
    outcome.verifySays("note   It is redirected to https://www.wayfar.localhost:");
    QCOMPARE(outcome.said.count("The certificate of "), 3); // one for each host
}

void TestCheckVendor::everyMistakeIsFoundAndTold_data()
{
    QTest::addColumn<QString>("file"); // with these bytes instead of the right ones; null: none is there
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("before"); // and in the configuration, what is changed
    QTest::addColumn<QByteArray>("after");
    QTest::addColumn<QByteArray>("words");
    const auto file = [](const char *mistake, const QString &name, const QByteArray &bytes, const QByteArray &words) {
        QTest::newRow(mistake) << name << bytes << QByteArray() << QByteArray() << words;
    };
    const auto configuration = [](const char *mistake, const QByteArray &before, const QByteArray &after,
                                  const QByteArray &words) {
        QTest::newRow(mistake) << QString() << QByteArray() << before << after << words;
    };
    const QString installerVersion = u"site/api/macVersion"_s;
    file("installer version with a line end", installerVersion, "1.3.0\n", "at every start, for ever");
    file("installer version with a letter first", installerVersion, "v1.3.0", "at every start, for ever");
    file("installer version with a blank first", installerVersion, " 1.3.0", "no player is ever asked");
    file("installer version with a slash", installerVersion, "1/3", "the upgrade fails");
    file("installer version with a byte-order mark", installerVersion,
         "\xef\xbb\xbf"
         "1.3.0",
         "no ASCII text");
    file("installer version empty", installerVersion, "", "every start ends with an alert");
    file("installer version that is a page", installerVersion, "<h1>Moved</h1>", "is a page and no version");
    file("installer version missing", installerVersion, {}, "There is no answer (");

    const QString packVersion = u"site/api/wayfarVersion"_s;
    file("pack version with a line end", packVersion, "1.2.6\n", "\"Update\" for ever");
    file("pack version with a blank", packVersion, "1.2 .6", "\"Update\" for ever");
    file("pack version that is a page", packVersion, "<h1>Moved</h1>", "is a page and no version");
    file("pack version other than the pack's", packVersion, "1.2.7",
         "says version \"1.2.6\", but \"1.2.7\" is published");

    file("pack version in JSON", packVersion, R"({"version":"1.2.6"})", "is a page and no version");

    const QString feed = u"site/feed"_s;
    file("links after their titles", feed,
         feedOf("<item><title>One</title><link>https://a.example</link><pubDate>Fri, 20 Nov</pubDate></item>"),
         "Put link and pubDate before title");
    file("a title in CDATA", feed, feedOf(post("https://a.example", "<![CDATA[One]]>")), "CDATA is never seen");
    file("an entity in a link", feed, feedOf(post("https://a.example/?a=1&amp;b=2", "One")),
         "the address is cut there");
    file("markup in a title", feed, feedOf(post("https://a.example", "a &lt;b> c")), "shown as markup");
    file("deep indentation", feed,
         feedOf(post("https://a.example", "One").replace("</pubDate>\n", "</pubDate>\n        ")), "Indent by four");
    file("a feed that breaks off", feed, feedOf(post("https://a.example", "This & that")), "not well-formed");
    file("a feed without news", feed, feedOf({}), "the news pane stays empty");
    file("an image of the channel", feed,
         feedOf("<pubDate>Fri, 20 Nov</pubDate><image><title>Logo</title></image>" + post("https://a.example", "One")),
         "shows 2 of its 1 posts");

    const QString banner = u"site/installer/banners/large.png"_s;
    file("a banner of another size", banner, pngOf(800, 600), "The picture is 800x600, the banner 960x176");
    file("a banner that is no picture", banner, "<svg xmlns='http://www.w3.org/2000/svg'/>", "the banner stays empty");
    file("a banner missing", banner, {}, "the built-in picture is shown");

    file("a change log beyond ASCII", u"site/api/changelog"_s, "Caf\xc3\xa9", "its window stays empty");
    file("an account page beyond ASCII", page, "Caf\xc3\xa9", "the account pane stays empty");
    file("an account refused, in words that clear a terminal", page, "Error|expired\x1b[2J", "Error|expired?[2J");

    file("an error page for the pack", pack, "<h1>Not Found</h1>", "begins: <h1>Not Found</h1>");
    file("a pack without Trailbook at its top", pack,
         zipOf("mkdir -p pack/Trailbook; touch pack/Trailbook/Trailbook.toc"),
         "\"Trailbook\" is not at the archive's top; there is: pack");
    file("a pack of an older version", pack, packOf("1.2.5"), "says version \"1.2.5\", but \"1.2.6\" is published");
    file("a bundle one level down", bundle, bundleIn("bin/WayfarRoutes_1.3.0.app"),
         "not at its top but in bin/WayfarRoutes_1.3.0.app");
    file("a bundle of another version", bundle, bundleIn("WayfarRoutes_1.2.9.app"),
         "is not in it (at its top: WayfarRoutes_1");
    file("a bundle that cannot be started", bundle, bundleIn("WayfarRoutes_1.3.0.app", "chmod -x AppRun"),
         "AppRun is missing or has no execute bit");
    file("a bundle whose program cannot", bundle, bundleIn("WayfarRoutes_1.3.0.app", "chmod -x usr/bin/*"),
         "usr/bin/wayfar-installer has no execute bit");
    file("an error page for a bundle", bundle, "<h1>Not Found</h1>", "without a new one. It begins: <h1>");

    configuration("no length of the pack", "default_type application/zip;",
                  "default_type application/zip; ssi on; ssi_types *;", "the bar shows no percentage");
    configuration("another status", "location = /feed {", "location = /feed { return 503 'Be right back';",
                  "The status is 503");
    configuration("a form redirected", "location = /api/dlCheckUser {",
                  "location = /api/dlCheckUser { return 301 https://www.wayfar.localhost:$server_port/api/changelog;",
                  "a GET without the account");
    configuration("a redirect to plain HTTP", "location = /feed {", "location = /feed { return 301 http://a.example/;",
                  "There is no answer (Protocol \"http\"");
    configuration("an encoding nobody asked for", "location = /feed {",
                  "location = /feed { add_header Content-Encoding gzip;", "which was not asked for");
    configuration("a refusal in other words", "location = /api/dlCheckUser {",
                  "location = /api/dlCheckUser { if ($http_content_length = 0) { return 200 'Wrong password'; }",
                  "is refused without \"Error|\"");
    configuration("banners that lead nowhere", "return 302 https://www.wayfar.localhost/;", "return 404;",
                  "a click on a banner");
}

void TestCheckVendor::everyMistakeIsFoundAndTold()
{
    QFETCH(const QString, file);
    QFETCH(const QByteArray, bytes);
    QFETCH(const QByteArray, before);
    QFETCH(const QByteArray, after);
    QFETCH(const QByteArray, words);
    publish();
    if (!file.isEmpty() && bytes.isNull())
        m_nginx->withdraw(file);
    else if (!file.isEmpty())
        m_nginx->publish(file, bytes);
    if (!before.isEmpty())
        m_nginx->changeAndRestart(before, after);
    const Outcome outcome = check(*m_nginx);
    if (!before.isEmpty())
        m_nginx->changeAndRestart(after, before);
    const QList<QByteArray> lines = outcome.said.split('\n');
    const bool isTold = std::ranges::any_of(
        lines, [&](const QByteArray &line) { return line.startsWith("  WRONG") && line.contains(words); });
    QVERIFY2(isTold, (outcome.said + "\nlacks: " + words).constData());
    QCOMPARE(outcome.status, 1);
}

void TestCheckVendor::aCertificateAboutToEndIsTold()
{
    NginxSite nginx(site, 5);
    nginx.start();
    const Outcome outcome = check(nginx);
    outcome.verifySays("WRONG  The certificate of www.wayfar.localhost ends in");
    QCOMPARE(outcome.status, 1);
}

void TestCheckVendor::withoutAnAccountTheFormsGoOutEmpty()
{
    publish();
    m_nginx->publish(page, "Error|Who are you?");
    m_nginx->publish(pack, "Error|Who are you?");
    const Outcome outcome = check(*m_nginx, {});
    outcome.verifySays("An empty form is refused: Error|Who are you?");
    outcome.verifySays("Name an account to have the pack looked at");
    QCOMPARE(outcome.status, 0);
}

void TestCheckVendor::theAccountStaysOutOfItsOutput()
{
    publish();
    const Outcome outcome = check(*m_nginx, "rowan\nlong road\n");
    QVERIFY(!outcome.said.contains("long") && !outcome.said.contains("rowan"));
}

void TestCheckVendor::atATerminalThePasswordIsNotShown()
{
    QProcess terminal;
    terminal.start(u"script"_s,
                   {u"-qec"_s, QStringLiteral(CHECK_VENDOR) + u" 127.0.0.1:1 127.0.0.1:1"_s, u"/dev/null"_s});
    QByteArray shown;
    const auto waitFor = [&](const QByteArray &question) {
        while (!shown.contains(question) && terminal.waitForReadyRead(10000))
            shown += terminal.readAll();
        return shown.contains(question);
    };
    QVERIFY(waitFor("User name"));
    terminal.write("rowan\n");
    QVERIFY2(waitFor("Password: "), shown.constData());
    terminal.write("long road\n");
    QVERIFY2(waitFor("Not all is right."), shown.constData());
    QVERIFY2(shown.contains("rowan") && !shown.contains("long road"), shown.constData());
    terminal.closeWriteChannel();
    terminal.waitForFinished();
}

void TestCheckVendor::withoutTwoHostsItSaysHowItIsUsed_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("one") << QStringList{u"wayfar.example"_s};
    QTest::newRow("an address") << QStringList{u"https://wayfar.example"_s, u"download.wayfar.example"_s};
    QTest::newRow("a page") << QStringList{u"wayfar.example"_s, u"download.wayfar.example/"_s};
    QTest::newRow("the other form") << QStringList{u"www.wayfar.example"_s, u"download.wayfar.example"_s};
}

void TestCheckVendor::withoutTwoHostsItSaysHowItIsUsed()
{
    QFETCH(const QStringList, arguments);
    const Outcome outcome = run(arguments, {});
    outcome.verifySays("host download-host");
    QCOMPARE(outcome.status, 2);
}

QTEST_GUILESS_MAIN(TestCheckVendor)
#include "TestCheckVendor.moc"
