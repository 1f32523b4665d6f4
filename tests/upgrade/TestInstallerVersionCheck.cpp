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
    // The log names both versions as they are, up to a null.
    void verifyLog(const QByteArray &published, const QString &installed) const
    {
        QCOMPARE(m_log,
                 "App Version Check --- Internal: " + installed.toUtf8() + " Web: " + published.constData() + '\n');
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
    verifyLog(published, installed);
}

void TestInstallerVersionCheck::otherwiseNothingIsWritten_data()
{
    QTest::addColumn<QByteArray>("published");
    QTest::addColumn<QString>("installed");
    const auto row = [](const char *name, const QByteArray &published, const QString &installed) {
        QTest::newRow(name) << published << installed;
    };
    row("the same", "1.2.6", u"1.2.6"_s);
    row("the same but for a zero group", "1.3.0", u"1.3"_s);
    row("the same but for the installed one's", "1.3", u"1.3.0.0"_s);
    row("the same but for leading zeros", "1.02.6", u"1.2.6"_s);
    row("older", "1.2.5", u"1.2.6"_s);
    row("nine before ten", "1.2.9", u"1.2.10"_s);
    row("one group less", "1.2", u"1.2.6"_s);
    row("nothing but a zero group", ".0", u"1.2.6"_s);
    row("a line end alone", "\n", u"1.2.6"_s);
    row("placeholders", "%@", u"%s%@"_s);
    row("older by thirty digits", "9", u"100000000000000000000000000000"_s);
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
        verifyLog(published, installed);
    }
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
