#include "pack/WayfarVersion.h"

#include "places/Preferences.h"
#include "support/Outages.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

class TestWayfarVersion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_world = std::make_unique<TestWorld>(); }
    void cleanup() { m_world.reset(); }

    void theFirstVersionLineTells_data();
    void theFirstVersionLineTells();

    void theInstalledVersionIsReadBelowTheStoredGameFolder();
    void theInstalledVersionIsNoneWithoutAReadableVersionLine_data();
    void theInstalledVersionIsNoneWithoutAReadableVersionLine();
    void theUsualGameFolderIsLookedInWhenNoneIsStored();

    void thePublishedVersionIsTheWholeAnswer_data();
    void thePublishedVersionIsTheWholeAnswer();
    void thePublishedVersionIsNothingWhenItCannotBeHad_data();
    void thePublishedVersionIsNothingWhenItCannotBeHad();
    void thePublishedVersionIsNothingWhenItIsNoAscii();
    void thePublishedVersionIsAskedForByABareGet();

private:
    WayfarVersion version() { return {m_world->defaults(), m_world->loader(), m_world->site()}; }
    QString toc() const { return m_world->addOnFolder() + u"/Trailbook/Trailbook.toc"_s; }

    std::unique_ptr<TestWorld> m_world;
};

void TestWayfarVersion::theFirstVersionLineTells_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<std::optional<QString>>("version");

    const auto row = [](const char *name, const QString &text, const std::optional<QString> &found) {
        QTest::newRow(name) << text << found;
    };
    row("marker, blank, version", u"## Version: 1.2.6"_s, u"1.2.6"_s);
    row("among other lines", u"## Title: Trailbook\n## Version: 1.2.6\nTrailbook.lua\n"_s, u"1.2.6"_s);
    row("line ends of CR LF", u"## Title: Trailbook\r\n## Version: 1.2.6\r\nTrailbook.lua\r\n"_s, u"1.2.6"_s);
    row("lone CR inside", u"## Version: 1\r.2"_s, u"1.2"_s);
    row("first version line wins", u"## Version: 2\n## Version: 3"_s, u"2"_s);
    row("no blank after the marker", u"## Version:1.2.6"_s, u"1.2.6"_s);
    row("blanks inside", u"## Version:  1 . 2 . 6 "_s, u"1.2.6"_s);
    row("tab is kept", u"## Version:\t1.2.6"_s, u"\t1.2.6"_s);
    row("other blanks are kept", u"## Version:\u00a01.2.6"_s, u"\u00a01.2.6"_s);
    row("nothing after the marker", u"## Version:\n## Version: 3"_s, u""_s);
    row("blanks alone after the marker", u"## Version:  \r\n"_s, u""_s);
    row("in capitals", u"## VERSION: 1.2.6"_s, u"1.2.6"_s);
    row("in small letters", u"## version: 1.2.6"_s, u"1.2.6"_s);
    row("text before the marker", u"  -- old ## Version: 1.2.6"_s, u"1.2.6"_s);
    row("marker twice on the line", u"## Version: 1 ## Version: 2"_s, u"1##Version:2"_s);
    row("letters in the version", u"## Version: v1.2-Beta"_s, u"v1.2-Beta"_s);
    row("after a byte-order mark", u"\ufeff## Version: 1.2.6"_s, u"1.2.6"_s);
    row("no blank after the hash signs", u"##Version: 1.2.6"_s, std::nullopt);
    row("no colon", u"## Version 1.2.6"_s, std::nullopt);
    row("cut by a line feed", u"## \nVersion: 1.2.6"_s, std::nullopt);
    row("no version line", u"## Title: Trailbook\n"_s, std::nullopt);
    row("no text", QString(), std::nullopt);
}

void TestWayfarVersion::theFirstVersionLineTells()
{
    QFETCH(const QString, text);
    QTEST(versionInToc(text), "version");
}

void TestWayfarVersion::theInstalledVersionIsReadBelowTheStoredGameFolder()
{
    m_world->installPack("1.2.5");
    QCOMPARE(version().localVersion(), u"1.2.5"_s);
    m_world->defaults().setObject(Preferences::installPath.key, m_world->gameFolder() + u'/');
    QCOMPARE(version().localVersion(), u"1.2.5"_s);
    m_world->write(m_world->path(u"moved/_retail_/Interface/AddOns/Trailbook/Trailbook.toc"_s), "## Version: 7\n");
    UserDefaults others; // another process's
    others.setObject(Preferences::installPath.key, m_world->path(u"moved"_s));
    QCOMPARE(version().localVersion(), u"7"_s);
}

void TestWayfarVersion::theInstalledVersionIsNoneWithoutAReadableVersionLine_data()
{
    QTest::addColumn<std::function<void(const QString &)>>("put");
    const auto row = [](const char *name, const std::function<void(const QString &)> &put) {
        QTest::newRow(name) << put;
    };
    const auto file = [this, row](const char *name, const QByteArray &bytes) {
        row(name, [this, bytes](const QString &path) { m_world->write(path, bytes); });
    };
    row("no game folder", [](const QString &) {});
    row("no file", [](const QString &path) { QDir().mkpath(QFileInfo(path).path()); });
    row("a folder in its place", [](const QString &path) { QDir().mkpath(path); });
    row("a dangling link", [](const QString &path) {
        QDir().mkpath(QFileInfo(path).path());
        QFile::link(u"/nowhere/at/all"_s, path);
    });
    file("empty file", "");
    file("no version line", "## Title: Trailbook\n");
    file("no UTF-8", QByteArray("## Title: Wegb\xfc") + "cher\n## Version: 1.2.6\n");
    file("UTF-8 cut off at the end", "## Version: 1.2.6\n\xc3");
    file("UTF-16", QByteArray("\xff\xfe#\0#\0", 6));
}

void TestWayfarVersion::theInstalledVersionIsNoneWithoutAReadableVersionLine()
{
    QFETCH(const std::function<void(const QString &)>, put);
    put(toc());
    QCOMPARE(version().localVersion(), u"none"_s);
}

void TestWayfarVersion::theUsualGameFolderIsLookedInWhenNoneIsStored()
{
    QCOMPARE(GameFolder::usualRoot.toString(), u"/Applications/World of Warcraft"_s);
    QVERIFY(!QFileInfo::exists(GameFolder::usualRoot.toString()));
    UserDefaults defaults(m_world->path(u"others/preferences.json"_s), {});
    QCOMPARE(WayfarVersion(defaults, m_world->loader(), m_world->site()).localVersion(), u"none"_s);
}

void TestWayfarVersion::thePublishedVersionIsTheWholeAnswer_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("version");
    const auto row = [](const char *name, const QByteArray &body, const QString &version, int status = 200) {
        QTest::newRow(name) << status << body << version;
    };
    row("bare", "1.2.6", u"1.2.6"_s);
    row("CR LF at the end", "1.2.6\r\n", u"1.2.6"_s);
    row("CR LF anywhere", "\r\n1.\r\n2.6\r\n\r\n", u"1.2.6"_s);
    row("lone LF is kept", "1.2.6\n", u"1.2.6\n"_s);
    row("lone CR is kept", "1.2.6\r", u"1.2.6\r"_s);
    row("CR CR LF leaves a CR", "1.2.6\r\r\n", u"1.2.6\r"_s);
    row("blanks are kept", " 1.2.6 ", u" 1.2.6 "_s);
    row("empty", QByteArray(), u""_s);
    row("an error page", "<h1>Not Found</h1>", u"<h1>Not Found</h1>"_s, 404);
    row("an error without words", QByteArray(), u""_s, 503);
}

void TestWayfarVersion::thePublishedVersionIsTheWholeAnswer()
{
    QFETCH(const int, status);
    QFETCH(const QByteArray, body);
    QFETCH(const QString, version);
    m_world->vendor().setAnswer("/api/wayfarVersion", answerWith(body, status));
    QCOMPARE(this->version().updateVersion(), std::optional(version));
}

void TestWayfarVersion::thePublishedVersionIsNothingWhenItCannotBeHad_data()
{
    addOutages("1.2.6");
}

void TestWayfarVersion::thePublishedVersionIsNothingWhenItCannotBeHad()
{
    QFETCH(const Outage, outage);
    outage.strike(*m_world, "/api/wayfarVersion");
    QCOMPARE(version().updateVersion(), std::nullopt);
}

void TestWayfarVersion::thePublishedVersionIsNothingWhenItIsNoAscii()
{
    for (const QByteArray published : {"1.2.6\xe2\x82\xac", "1.2.6\x80"}) {
        m_world->vendor().setPackVersion(published);
        QCOMPARE(version().updateVersion(), std::nullopt);
    }
}

void TestWayfarVersion::thePublishedVersionIsAskedForByABareGet()
{
    m_world->storeAccount(u"ann"_s, u"key"_s);
    QCOMPARE(version().updateVersion(), std::optional(u"1.2.6"_s));
    QCOMPARE(askedOf(m_world->vendor()), QList<QByteArray>{"GET wayfar.example/api/wayfarVersion"});
    const VendorRequest request = m_world->vendor().requests().constFirst();
    QCOMPARE(request.headerCount("Content-Type"), 0);
    QCOMPARE(request.headerCount("Authorization"), 0);
}

QTEST_GUILESS_MAIN(TestWayfarVersion)
#include "TestWayfarVersion.moc"
