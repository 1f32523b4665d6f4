#include "support/InstallerDownload.h"

#include <QFile>

using namespace Qt::StringLiterals;

class TestInstallerDownloadFailures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_download = std::make_unique<InstallerDownload>(); }
    void cleanup() { m_download.reset(); }

    void aTransferBrokenAnywhereFailsOnce_data();
    void aTransferBrokenAnywhereFailsOnce();
    void aSilentHostFails_data();
    void aSilentHostFails();
    void aRefusedConnectionFails();
    void aStrangersCertificateFails();
    void anAddressThatIsNoneFailsFromTheEventLoop_data();
    void anAddressThatIsNoneFailsFromTheEventLoop();
    void withoutASupportFolderTheResultIsTheTransfers();
    void anArchiveThatCannotBeMadeIsNotNoticed();
    void withoutADelegateTheEndIsQuiet_data();
    void withoutADelegateTheEndIsQuiet();

private:
    void useLoader(const UrlLoaderSettings &settings)
    {
        m_download->upgrade.reset();
        m_download->world.useVendor(settings);
        m_download->upgrade = m_download->newUpgrade();
        m_download->upgrade->setDelegate(m_download.get());
    }
    QByteArray archived() const { return m_download->world.read(m_download->world.archive()); }
    // The failure touches neither the window nor the file.
    void verifyFailure()
    {
        QVERIFY(m_download->waitForResult());
        QCOMPARE(m_download->results, QList<bool>{false});
        QVERIFY(m_download->window().isOpen);
    }

    std::unique_ptr<InstallerDownload> m_download;
};

void TestInstallerDownloadFailures::aTransferBrokenAnywhereFailsOnce_data()
{
    QTest::addColumn<VendorAnswer::Length>("length");
    QTest::addColumn<std::optional<qint64>>("resetAfter");
    QTest::addColumn<std::optional<qint64>>("announced");
    QTest::addColumn<QByteArray>("left"); // of the archive
    QTest::addColumn<bool>("exists");
    using Count = std::optional<qint64>;
    using Length = VendorAnswer::Length;
    const auto row = [](const char *name, Length length, Count resetAfter, Count announced, const QByteArray &left,
                        bool exists = true) {
        QTest::newRow(name) << length << resetAfter << announced << left << exists;
    };
    row("before the answer", Length::Exact, -1, {}, "", false);
    row("before the body", Length::Exact, 0, {}, "");
    row("in the body", Length::Exact, 4, {}, "abcd");
    row("before the last byte", Length::Exact, 5, {}, "abcde");
    row("in the body, without a length", Length::Absent, 4, {}, "abcd");
    row("in the body, chunked", Length::Chunked, 4, {}, "abcd");
    row("before the last chunk's end", Length::Chunked, 6, {}, "abcdef");
    row("fewer bytes than announced", Length::Exact, {}, 10, "abcdef");
}

void TestInstallerDownloadFailures::aTransferBrokenAnywhereFailsOnce()
{
    QFETCH(const std::optional<qint64>, announced);
    QFETCH(const std::optional<qint64>, resetAfter);
    QFETCH(const VendorAnswer::Length, length);
    VendorAnswer answer;
    answer.body = "abcdef";
    answer.length = length;
    answer.resetAfter = resetAfter;
    answer.announcedLength = announced;
    m_download->answer(answer);
    m_download->world.write(m_download->world.archive(), "of an earlier run");
    m_download->start();
    verifyFailure();
    QTEST(archived(), "left");
    QTEST(QFile::exists(m_download->world.archive()), "exists");
}

void TestInstallerDownloadFailures::aSilentHostFails_data()
{
    QTest::addColumn<qint64>("stallAfter");
    QTest::addColumn<QByteArray>("left");
    QTest::newRow("before the answer") << qint64(-1) << QByteArray();
    QTest::newRow("in the body") << qint64(3) << QByteArray("abc");
}

void TestInstallerDownloadFailures::aSilentHostFails()
{
    QFETCH(const qint64, stallAfter);
    VendorAnswer answer;
    answer.body = "abcdef";
    answer.stallAfter = stallAfter;
    m_download->answer(answer);
    UrlLoaderSettings impatient = m_download->world.network();
    impatient.idleSeconds = 1;
    useLoader(impatient);
    m_download->start();
    verifyFailure();
    QTEST(archived(), "left");
}

void TestInstallerDownloadFailures::aRefusedConnectionFails()
{
    m_download->world.write(m_download->world.archive(), "of an earlier run");
    UrlLoaderSettings nowhere = m_download->world.network();
    nowhere.connectTo = {"::127.0.0.1:1"};
    useLoader(nowhere);
    m_download->start();
    QVERIFY(m_download->results.isEmpty());
    verifyFailure();
    QVERIFY(!QFile::exists(m_download->world.archive()));
}

void TestInstallerDownloadFailures::aStrangersCertificateFails()
{
    const VendorServer stranger({.trusted = false});
    useLoader({.caFile = stranger.caFile(), .connectTo = stranger.connectTo()});
    m_download->start();
    verifyFailure();
    QVERIFY(stranger.requests().isEmpty());
}

void TestInstallerDownloadFailures::anAddressThatIsNoneFailsFromTheEventLoop_data()
{
    QTest::addColumn<QString>("version");
    QTest::newRow("a line end") << u"1.3.0\n"_s;
    QTest::newRow("a blank") << u"1.3 0"_s;
    QTest::newRow("an error page") << u"<html>\r\n<h1>Not Found</h1>\r\n</html>\r\n"_s;
}

void TestInstallerDownloadFailures::anAddressThatIsNoneFailsFromTheEventLoop()
{
    QFETCH(const QString, version);
    QVERIFY(m_download->upgrade->upgrade(&m_download->ignored, version));
    QVERIFY(m_download->results.isEmpty());
    QCOMPARE(m_download->upgrade->downloadText(), u"Downloading version "_s + version);
    verifyFailure();
    QVERIFY(m_download->world.vendor().requests().isEmpty());
}

void TestInstallerDownloadFailures::withoutASupportFolderTheResultIsTheTransfers()
{
    TestWorld &world = m_download->world;
    world.write(world.path(u"data"_s), "a file where the folder should be");
    VendorAnswer answer;
    answer.body = "abcdef";
    m_download->answer(answer);
    const QByteArray log = standardErrorOf([this] {
        m_download->start();
        QVERIFY(m_download->waitForResult());
    });
    QVERIFY(log.contains("Unable to find or create application support directory:"));
    QCOMPARE(m_download->results, QList<bool>{true});
    QCOMPARE(m_download->upgrade->progress(), 100.0);
}

void TestInstallerDownloadFailures::anArchiveThatCannotBeMadeIsNotNoticed()
{
    m_download->world.write(m_download->world.supportFolder() + u"/account.html"_s, "");
    QFile::setPermissions(m_download->world.supportFolder(),
                          QFile::ReadOther | QFile::ExeOther | QFile::ReadOwner | QFile::ExeOwner);
    const OrdinaryUser player;
    m_download->upgrade->connectionDidReceiveResponse(6);
    m_download->upgrade->connectionDidReceiveData("abc");
    m_download->upgrade->connectionDidReceiveData("def");
    m_download->upgrade->connectionDidFinishLoading();
    QVERIFY(!QFile::exists(m_download->world.archive()));
    QCOMPARE(m_download->results, QList<bool>{true});
    QCOMPARE(m_download->upgrade->progress(), 100.0);
    QCOMPARE(m_download->upgrade->totalDownloaded(), qint64(6));
}

void TestInstallerDownloadFailures::withoutADelegateTheEndIsQuiet_data()
{
    QTest::addColumn<bool>("broken");
    QTest::newRow("finished") << false;
    QTest::newRow("broken") << true;
}

void TestInstallerDownloadFailures::withoutADelegateTheEndIsQuiet()
{
    QFETCH(const bool, broken);
    VendorAnswer answer;
    answer.body = "abcdef";
    if (broken)
        answer.resetAfter = 3;
    m_download->answer(answer);
    m_download->upgrade->setDelegate(nullptr);
    m_download->start();
    const std::weak_ptr<InstallerUpgrade> kept = m_download->upgrade;
    m_download->upgrade.reset();
    QTRY_VERIFY(kept.expired()); // the transfer has ended
    QVERIFY(m_download->results.isEmpty());
    QCOMPARE(archived(), broken ? "abc" : "abcdef");
}

QTEST_MAIN(TestInstallerDownloadFailures)
#include "TestInstallerDownloadFailures.moc"
