#include "upgrade/InstallerUpgrade.h"

#include "support/Outages.h"

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
    void anAnswerWithoutAnAsciiTextIsAnError_data();
    void anAnswerWithoutAnAsciiTextIsAnError();
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
    QCOMPARE(askedOf(m_world->vendor()), QList<QByteArray>{"GET wayfar.example/api/macVersion"});
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
    addOutages("9.9");
}

void TestInstallerVersionCheck::aVendorOutOfReachIsAnError()
{
    QFETCH(const Outage, outage);
    outage.strike(*m_world, "/api/macVersion");
    verifyUnreachable();
}

void TestInstallerVersionCheck::anAnswerWithoutAnAsciiTextIsAnError_data()
{
    QTest::addColumn<VendorAnswer>("answer");
    QTest::newRow("no body") << answerWith({});
    QTest::newRow("no content") << answerWith({}, 204);
    QTest::newRow("an error without a page") << answerWith({}, 404);
    QTest::newRow("not 7-bit") << answerWith("9.9\xe9");
    QTest::newRow("a byte-order mark") << answerWith(QByteArray("\xef\xbb\xbf") + "9.9");
}

void TestInstallerVersionCheck::anAnswerWithoutAnAsciiTextIsAnError()
{
    QFETCH(const VendorAnswer, answer);
    m_world->vendor().setAnswer("/api/macVersion", answer);
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

QTEST_GUILESS_MAIN(TestInstallerVersionCheck)
#include "TestInstallerVersionCheck.moc"
