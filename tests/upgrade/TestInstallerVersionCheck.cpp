#include "support/Answers.h"
#include "support/TestWorld.h"

#include "upgrade/InstallerUpgrade.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QString before = QStringLiteral("as it was");
} // namespace

class TestInstallerVersionCheck : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_world = std::make_unique<TestWorld>(); }
    void cleanup() { m_world.reset(); }

    void theVersionIsFetchedByAPlainGet();
    void aNewerVersionIsReportedAsItCame_data();
    void aNewerVersionIsReportedAsItCame();
    void otherwiseNothingIsWritten_data();
    void otherwiseNothingIsWritten();
    void theLogNamesBothVersionsUnshortened_data();
    void theLogNamesBothVersionsUnshortened();
    void aVendorOutOfReachIsAnError_data();
    void aVendorOutOfReachIsAnError();
    void aRefusedConnectionIsAnError();
    void aStrangersCertificateIsAnError();
    void aVendorGoneSilentIsAnError_data();
    void aVendorGoneSilentIsAnError();
    void anUnusedUpgradeIsEmpty();

private:
    std::shared_ptr<InstallerUpgrade> newUpgrade(const QString &installed)
    {
        return std::make_shared<InstallerUpgrade>(m_world->loader(), m_world->site(), installed,
                                                  InstallerUpgrade::WindowMaker());
    }
    bool check(const QString &installed = u"1.2.6"_s)
    {
        bool available = false;
        m_log = standardErrorOf([&] {
            const auto upgrade = newUpgrade(installed);
            available = upgrade->updateAvailable(&m_error, &m_version);
        });
        return available;
    }
    void verifyUnreachable()
    {
        m_error = false;
        m_version = before;
        QVERIFY(!check());
        QVERIFY(m_error);
        QCOMPARE(m_version, before);
        QCOMPARE(m_log, QByteArray());
    }

    std::unique_ptr<TestWorld> m_world;
    bool m_error = false;
    std::optional<QString> m_version;
    QByteArray m_log;
};

void TestInstallerVersionCheck::theVersionIsFetchedByAPlainGet()
{
    QVERIFY(!check());
    QCOMPARE(m_world->vendor().requests().size(), 1);
    const VendorRequest request = m_world->vendor().requests().constFirst();
    QCOMPARE(request.method, "GET");
    QCOMPARE(request.path, "/api/macVersion");
    QCOMPARE(request.host, "wayfar.example"); // without www.
    QCOMPARE(request.body, QByteArray());
}

void TestInstallerVersionCheck::aNewerVersionIsReportedAsItCame_data()
{
    QTest::addColumn<QByteArray>("published");
    QTest::addColumn<QString>("installed");
    QTest::addColumn<int>("status");
    const auto row = [](const char *name, const QByteArray &published, const QString &installed, int status = 200) {
        QTest::newRow(name) << published << installed << status;
    };
    row("ten after nine", "1.2.10", u"1.2.9"_s);
    row("its zero group stays", "1.3.0", u"1.2.6"_s);
    row("one more group", "1.2.6.1", u"1.2.6"_s);
    row("one more group than a zero group", "1.3.0.1", u"1.3.0"_s);
    row("the same with a line end", "1.2.6\n", u"1.2.6"_s);
    row("the same with a network line end", "1.2.6\r\n", u"1.2.6"_s);
    row("the line end stops the shortening", "1.3.0\n", u"1.3"_s);
    row("the same with a blank", "1.2.6 ", u"1.2.6"_s);
    row("thirty digits", "100000000000000000000000000001", u"100000000000000000000000000000"_s);
    row("an error page", "<html><h1>Not Found</h1></html>", u"1.2.6"_s, 404);
    row("a version with an error's status", "1.2.7", u"1.2.6"_s, 500);
    row("words", "maintenance", u"1.2.6"_s, 503);
    row("no version is installed", "0.1", u""_s);
    row("a placeholder", "%@", u""_s);
    row("a null", QByteArray("1.2.7\0", 6), u"1.2.6"_s);
}

void TestInstallerVersionCheck::aNewerVersionIsReportedAsItCame()
{
    QFETCH(const QByteArray, published);
    QFETCH(const QString, installed);
    QFETCH(const int, status);
    m_world->vendor().setAnswer("/api/macVersion", answerWith(published, status));
    m_error = true;
    m_version = before;
    QVERIFY(check(installed));
    QVERIFY(!m_error);
    QCOMPARE(m_version, QString::fromLatin1(published));
}

void TestInstallerVersionCheck::otherwiseNothingIsWritten_data()
{
    QTest::addColumn<QByteArray>("published");
    QTest::addColumn<QString>("installed");
    QTest::newRow("the same") << QByteArray("1.2.6") << u"1.2.6"_s;
    QTest::newRow("the same but for a zero group") << QByteArray("1.3.0") << u"1.3"_s;
    QTest::newRow("the same but for the installed one's") << QByteArray("1.3") << u"1.3.0.0"_s;
    QTest::newRow("the same but for leading zeros") << QByteArray("1.02.6") << u"1.2.6"_s;
    QTest::newRow("older") << QByteArray("1.2.5") << u"1.2.6"_s;
    QTest::newRow("nine before ten") << QByteArray("1.2.9") << u"1.2.10"_s;
    QTest::newRow("one group less") << QByteArray("1.2") << u"1.2.6"_s;
    QTest::newRow("nothing but a zero group") << QByteArray(".0") << u"1.2.6"_s;
    QTest::newRow("a line end alone") << QByteArray("\n") << u"1.2.6"_s;
    QTest::newRow("older by thirty digits") << QByteArray("9") << u"100000000000000000000000000000"_s;
}

void TestInstallerVersionCheck::otherwiseNothingIsWritten()
{
    QFETCH(const QByteArray, published);
    QFETCH(const QString, installed);
    m_world->vendor().setInstallerVersion(published);
    for (const bool flag : {false, true}) {
        m_error = flag;
        m_version = before;
        QVERIFY(!check(installed));
        QCOMPARE(m_error, flag);
        QCOMPARE(m_version, before);
    }
}

void TestInstallerVersionCheck::theLogNamesBothVersionsUnshortened_data()
{
    QTest::addColumn<QByteArray>("published");
    QTest::addColumn<QString>("installed");
    QTest::addColumn<QByteArray>("line");
    const QByteArray start = "App Version Check --- Internal: ";
    QTest::newRow("newer") << QByteArray("1.3.0") << u"1.2.0"_s << start + "1.2.0 Web: 1.3.0\n";
    QTest::newRow("the same") << QByteArray("1.3.0") << u"1.3"_s << start + "1.3 Web: 1.3.0\n";
    QTest::newRow("older") << QByteArray("1.0.0") << u"1.2.6"_s << start + "1.2.6 Web: 1.0.0\n";
    QTest::newRow("placeholders") << QByteArray("%@") << u"%s%@"_s << start + "%s%@ Web: %@\n";
}

void TestInstallerVersionCheck::theLogNamesBothVersionsUnshortened()
{
    QFETCH(const QByteArray, published);
    QFETCH(const QString, installed);
    m_world->vendor().setInstallerVersion(published);
    check(installed);
    QTEST(m_log, "line");
}

void TestInstallerVersionCheck::aVendorOutOfReachIsAnError_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status");
    QTest::addColumn<std::optional<qint64>>("resetAfter");
    QTest::addColumn<std::optional<qint64>>("announced");
    using Count = std::optional<qint64>;
    QTest::newRow("no body") << QByteArray() << 200 << Count() << Count();
    QTest::newRow("no content") << QByteArray() << 204 << Count() << Count();
    QTest::newRow("an error without a page") << QByteArray() << 404 << Count() << Count();
    QTest::newRow("broken before the answer") << QByteArray("9.9") << 200 << Count(-1) << Count();
    QTest::newRow("broken before the body") << QByteArray("9.9") << 200 << Count(0) << Count();
    QTest::newRow("broken in the body") << QByteArray("9.9") << 200 << Count(1) << Count();
    QTest::newRow("fewer bytes than announced") << QByteArray("9.9") << 200 << Count() << Count(4);
    QTest::newRow("not 7-bit") << QByteArray("9.9\xe9") << 200 << Count() << Count();
    QTest::newRow("a byte-order mark") << QByteArray("\xef\xbb\xbf"
                                                     "9.9")
                                       << 200 << Count() << Count();
}

void TestInstallerVersionCheck::aVendorOutOfReachIsAnError()
{
    QFETCH(const QByteArray, body);
    QFETCH(const int, status);
    QFETCH(const std::optional<qint64>, resetAfter);
    QFETCH(const std::optional<qint64>, announced);
    VendorAnswer answer = answerWith(body, status);
    answer.resetAfter = resetAfter;
    answer.announcedLength = announced;
    m_world->vendor().setAnswer("/api/macVersion", answer);
    verifyUnreachable();
    QVERIFY(!m_world->vendor().requests().isEmpty());
}

void TestInstallerVersionCheck::aRefusedConnectionIsAnError()
{
    m_world->vendor().setInstallerVersion("9.9");
    m_world->goOffline();
    verifyUnreachable();
}

void TestInstallerVersionCheck::aStrangersCertificateIsAnError()
{
    VendorServer stranger({.trusted = false});
    stranger.setInstallerVersion("9.9");
    m_world->useVendor({.caFile = stranger.caFile(), .connectTo = stranger.connectTo()});
    verifyUnreachable();
    QVERIFY(stranger.requests().isEmpty());
}

void TestInstallerVersionCheck::aVendorGoneSilentIsAnError_data()
{
    QTest::addColumn<qint64>("stallAfter");
    QTest::newRow("before the answer") << qint64(-1);
    QTest::newRow("in the body") << qint64(1);
}

void TestInstallerVersionCheck::aVendorGoneSilentIsAnError()
{
    QFETCH(const qint64, stallAfter);
    VendorAnswer answer = answerWith("9.9");
    answer.stallAfter = stallAfter;
    m_world->vendor().setAnswer("/api/macVersion", answer);
    UrlLoaderSettings impatient = m_world->network();
    impatient.idleSeconds = 1;
    m_world->useVendor(impatient);
    verifyUnreachable();
}

void TestInstallerVersionCheck::anUnusedUpgradeIsEmpty()
{
    const auto upgrade = newUpgrade(u"1.2.6"_s);
    QCOMPARE(upgrade->downloadText(), QString());
    QCOMPARE(upgrade->progress(), 0.0);
    QVERIFY(!upgrade->progressWindow());
    QCOMPARE(upgrade->totalSize(), qint64(0));
    QCOMPARE(upgrade->totalDownloaded(), qint64(0));
}

QTEST_MAIN(TestInstallerVersionCheck)
#include "TestInstallerVersionCheck.moc"
