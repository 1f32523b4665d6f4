#include "support/Program.h"

#include "windows/InstallerDownloadWindow.h"
#include "upgrade/InstallerUpgrade.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace
{
const QByteArray remotePath = "/WayfarRoutes_1.3.0.zip";
}

// From the yes to the end: the download of installer 1.3.0 and what comes of it.
class TestInstallerUpgradeDownload : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theDownloadedBundleReplacesTheRunningOne();
    void aDownloadBrokenAnywhereEndsWithStatus1_data();
    void aDownloadBrokenAnywhereEndsWithStatus1();
    void aHostOutOfReachEndsWithStatus1();
    void thePartialArchiveIsLeft();
    void anErrorPageEndsInOrderWithoutReplacement();
    void closingTheWindowByHandStopsNothing();
    void everyVersionTextEndsWell_data();
    void everyVersionTextEndsWell();

private:
    AppDelegate &delegate() { return m_program->delegate; }
    InstallerDownloadWindow &window()
    {
        return dynamic_cast<InstallerDownloadWindow &>(*delegate().upgrade()->progressWindow());
    }
    // The start-up's first step, with a yes; on this thread and without the main window.
    void accept(const QByteArray &version = "1.3.0")
    {
        m_world->vendor().setInstallerVersion(version);
        standardErrorOf([this] { QVERIFY(delegate().checkInstallerUpdate()); });
        QVERIFY(window().isVisible());
    }
    bool waitForTheEnd()
    {
        return QTest::qWaitFor([this] { return m_program->exitStatus || m_program->terminations > 0; }, 10000);
    }
    void verifyFailure();
    QByteArray bundleArchive() const { return m_world->zip({{u"WayfarRoutes_1.3.0.app/AppRun"_s, "#!/bin/sh\n"}}); }
    QString archive() const { return m_world->archive(); }
    QString application(const QString &name) const { return m_world->path(u"applications/"_s + name); }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Program> m_program;
};

void TestInstallerUpgradeDownload::init()
{
    QCoreApplication::setApplicationVersion(u"1.2.6"_s);
    m_world = std::make_unique<TestWorld>();
    m_world->write(application(u"WayfarRoutes_1.2.6.app/AppRun"_s), "#!/bin/sh\n");
    m_program = std::make_unique<Program>(*m_world);
}

void TestInstallerUpgradeDownload::cleanup()
{
    m_program.reset();
    m_world.reset();
}

// The first alert was the question.
void TestInstallerUpgradeDownload::verifyFailure()
{
    QCOMPARE(m_program->exitStatus, std::optional(1));
    QCOMPARE(m_program->terminations, 0);
    QCOMPARE(m_program->alert.shown.size(), 2);
    const AlertContent &content = m_program->alert.shown.constLast();
    QCOMPARE(content.messageText,
             u"Wayfer Installer failed to download installer update. Installer will quit. Please retry and contact "
             "Wayfar support if problem persists."_s);
    QCOMPARE(content.informativeText, QString());
    QCOMPARE(content.defaultButton, u"OK"_s);
    QCOMPARE(content.alternateButton, QString());
    QVERIFY(m_program->workspace.applications.isEmpty());
    QVERIFY(m_program->administrator.scripts.isEmpty());
    QVERIFY(!QFile::exists(m_world->supportFolder() + u"/update"_s)); // nothing was unpacked
    QCOMPARE(QDir(application({})).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList{u"WayfarRoutes_1.2.6.app"_s});
}

void TestInstallerUpgradeDownload::theDownloadedBundleReplacesTheRunningOne()
{
    m_world->vendor().setInstallerArchive("1.3.0", bundleArchive());
    accept();
    QVERIFY(waitForTheEnd());
    QCOMPARE(m_program->terminations, 1);
    QVERIFY(!m_program->exitStatus);
    QCOMPARE(m_program->alert.shown.size(), 1);
    QVERIFY(!window().isVisible());
    QCOMPARE(m_program->workspace.applications, QStringList{application(u"WayfarRoutes_1.3.0.app"_s)});
    QCOMPARE(m_world->read(application(u"WayfarRoutes_1.3.0.app/AppRun"_s)), "#!/bin/sh\n");
    QVERIFY(QFile::exists(application(u"WayfarRoutes_1.2.6.app/AppRun"_s)));
    QVERIFY(m_program->administrator.scripts.isEmpty());
}

void TestInstallerUpgradeDownload::aDownloadBrokenAnywhereEndsWithStatus1_data()
{
    QTest::addColumn<VendorAnswer::Length>("length");
    QTest::addColumn<std::optional<qint64>>("resetAfter");
    QTest::addColumn<std::optional<qint64>>("announced");
    using Count = std::optional<qint64>;
    QTest::newRow("before the answer") << VendorAnswer::Length::Exact << Count(-1) << Count();
    QTest::newRow("before the body") << VendorAnswer::Length::Exact << Count(0) << Count();
    QTest::newRow("in the body") << VendorAnswer::Length::Exact << Count(10) << Count();
    QTest::newRow("before the last chunk's end") << VendorAnswer::Length::Chunked << Count(INT_MAX) << Count();
    QTest::newRow("fewer bytes than announced") << VendorAnswer::Length::Exact << Count() << Count(1000000);
}

void TestInstallerUpgradeDownload::aDownloadBrokenAnywhereEndsWithStatus1()
{
    QFETCH(const VendorAnswer::Length, length);
    QFETCH(const std::optional<qint64>, resetAfter);
    QFETCH(const std::optional<qint64>, announced);
    VendorAnswer answer;
    answer.body = bundleArchive(); // all of it may have come: it counts for nothing
    answer.length = length;
    if (resetAfter)
        answer.resetAfter = std::min<qint64>(*resetAfter, answer.body.size());
    answer.announcedLength = announced;
    m_world->vendor().setAnswer(remotePath, answer);
    accept();
    bool closedAndRunning = false;
    m_program->alert.whileShown = [&] { closedAndRunning = !window().isVisible() && !m_program->exitStatus; };
    QVERIFY(waitForTheEnd());
    QVERIFY(closedAndRunning);
    verifyFailure();
}

void TestInstallerUpgradeDownload::aHostOutOfReachEndsWithStatus1()
{
    m_program.reset();
    UrlLoaderSettings network = m_world->network();
    network.connectTo.prepend("download.wayfar.example:443:127.0.0.1:1"); // the site alone is there
    m_world->useVendor(network);
    m_program = std::make_unique<Program>(*m_world);
    accept();
    QVERIFY(waitForTheEnd());
    verifyFailure();
    QVERIFY(!QFile::exists(archive()));
}

void TestInstallerUpgradeDownload::thePartialArchiveIsLeft()
{
    VendorAnswer answer;
    answer.body = "half and half";
    answer.resetAfter = 5;
    m_world->vendor().setAnswer(remotePath, answer);
    accept();
    QVERIFY(waitForTheEnd());
    verifyFailure();
    QCOMPARE(m_world->read(archive()), "half ");
}

void TestInstallerUpgradeDownload::anErrorPageEndsInOrderWithoutReplacement()
{
    VendorAnswer page;
    page.status = 404;
    page.body = "<h1>Not Found</h1>";
    m_world->vendor().setAnswer(remotePath, page);
    accept();
    QVERIFY(waitForTheEnd());
    QCOMPARE(m_program->terminations, 1);
    QVERIFY(!m_program->exitStatus);
    QCOMPARE(m_program->alert.shown.size(), 1);
    QCOMPARE(m_program->workspace.applications, QStringList{application(u"WayfarRoutes_1.3.0.app"_s)});
    QVERIFY(!QFile::exists(application(u"WayfarRoutes_1.3.0.app"_s)));
    QCOMPARE(m_world->read(archive()), "<h1>Not Found</h1>");
}

void TestInstallerUpgradeDownload::closingTheWindowByHandStopsNothing()
{
    VendorAnswer answer;
    answer.body = bundleArchive();
    answer.stallAfter = 10;
    m_world->vendor().setAnswer(remotePath, answer);
    accept();
    QTRY_COMPARE(delegate().upgrade()->totalDownloaded(), qint64(10));
    QVERIFY(window().close());
    QCoreApplication::processEvents();
    QCOMPARE(m_program->terminations, 0);
    m_world->vendor().step();
    QVERIFY(waitForTheEnd());
    QVERIFY(!window().isVisible()); // nothing brought it back
    QCOMPARE(m_program->terminations, 1);
    QVERIFY(QFile::exists(application(u"WayfarRoutes_1.3.0.app/AppRun"_s)));
}

void TestInstallerUpgradeDownload::everyVersionTextEndsWell_data()
{
    QTest::addColumn<QByteArray>("version");
    QTest::addColumn<bool>("isAddress"); // that may be asked for
    QTest::newRow("a line end") << QByteArray("1.2.6\n") << false;
    QTest::newRow("a blank") << QByteArray("1.2.6 beta") << false;
    QTest::newRow("an error page") << QByteArray("<html>\n<h1>Not Found</h1>\n</html>\n") << false;
    QTest::newRow("up") << QByteArray("9/../../precious") << true;
    QTest::newRow("a slash") << QByteArray("9/3") << true;
    QTest::newRow("a slash at the end") << QByteArray("9/") << true;
    QTest::newRow("a single quote") << QByteArray("9'3") << true;
    QTest::newRow("a double quote") << QByteArray("9\"3") << true;
    QTest::newRow("a backslash") << QByteArray("9\\3") << true;
    QTest::newRow("a percent sign") << QByteArray("9%2f..%2fx") << true;
    QTest::newRow("a bare percent sign") << QByteArray("9%") << true;
    QTest::newRow("a placeholder") << QByteArray("9%@") << true;
    QTest::newRow("a query") << QByteArray("9?x=1") << true;
    QTest::newRow("a fragment") << QByteArray("9#x") << true;
    QTest::newRow("another host's sign") << QByteArray("9@other.example") << true;
}

// Whatever the vendor publishes: what is asked for is asked of the download host, nothing but a bundle of that name is
// put in place, and the program ends in one of the two agreed ways.
void TestInstallerUpgradeDownload::everyVersionTextEndsWell()
{
    QFETCH(const QByteArray, version);
    QFETCH(const bool, isAddress);
    m_world->write(m_world->supportFolder() + u"/precious.app/file"_s, "precious");
    accept(version);
    m_world->vendor().clearRequests();
    QVERIFY(waitForTheEnd());
    QCOMPARE(m_program->exitStatus.value_or(0), isAddress ? 0 : 1);
    QCOMPARE(m_program->terminations, isAddress ? 1 : 0);
    QCOMPARE(m_world->vendor().requests().size(), isAddress ? 1 : 0);
    for (const VendorRequest &request : m_world->vendor().requests())
        QCOMPARE(request.host, "download.wayfar.example");
    QVERIFY(m_program->administrator.scripts.isEmpty());
    QCOMPARE(QDir(application({})).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{u"WayfarRoutes_1.2.6.app"_s});
    QCOMPARE(m_world->read(m_world->supportFolder() + u"/precious.app/file"_s), "precious");
}

QTEST_MAIN(TestInstallerUpgradeDownload)
#include "TestInstallerUpgradeDownload.moc"
