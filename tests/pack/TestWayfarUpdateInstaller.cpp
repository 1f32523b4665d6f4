#include "pack/WayfarUpdateInstaller.h"

#include "support/Outages.h"
#include "support/PackDownload.h"

#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

class TestWayfarUpdateInstaller : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_download = std::make_unique<PackDownload>(); }
    void cleanup() { m_download.reset(); }

    void theStoredAccountIsPosted_data();
    void theStoredAccountIsPosted();
    void theArchiveIsTheBodyByteForByte();
    void aPieceIsReportedWhenItIsWritten_data();
    void aPieceIsReportedWhenItIsWritten();
    void aBodyWithoutBytesGivesAnEmptyArchiveAndNoReport();
    void anAnswerOfAnyStatusIsSavedAndEndsWell_data();
    void anAnswerOfAnyStatusIsSavedAndEndsWell();
    void theOldArchiveIsGoneWhenTheStartHasReturned();
    void anOutageEndsBadlyAndLeavesWhatArrived_data();
    void anOutageEndsBadlyAndLeavesWhatArrived();
    void withoutASupportFolderTheDownloadEndsWell();
    void theTransferKeepsTheInstallerAndNeedsNoDelegate_data();
    void theTransferKeepsTheInstallerAndNeedsNoDelegate();

private:
    TestWorld &world() { return m_download->world; }
    QByteArray archived() { return world().read(world().archive()); }

    std::unique_ptr<PackDownload> m_download;
};

void TestWayfarUpdateInstaller::theStoredAccountIsPosted_data()
{
    QTest::addColumn<std::optional<QString>>("user");
    QTest::addColumn<std::optional<QString>>("password");
    QTest::addColumn<QByteArray>("body");
    const auto row = [](const char *name, const std::optional<QString> &user, const std::optional<QString> &password,
                        const QByteArray &body) { QTest::newRow(name) << user << password << body; };
    row("name and password", u"a b"_s, u"1+1&€"_s, "user=a%20b&pass=1+1&%E2%82%AC");
    row("no password", u"ann"_s, std::nullopt, "user=ann");
    row("no name", std::nullopt, u"key"_s, "");
}

void TestWayfarUpdateInstaller::theStoredAccountIsPosted()
{
    QFETCH(const std::optional<QString>, user);
    QFETCH(const std::optional<QString>, password);
    QFETCH(const QByteArray, body);
    world().storeAccount(user, password);
    QVERIFY(m_download->run());

    QCOMPARE(askedOf(world().vendor()), QList<QByteArray>{("POST wayfar.example/api/dlGuide " + body).trimmed()});
    const VendorRequest request = world().vendor().requests().constFirst();
    QCOMPARE(request.header("Content-Type"),
             std::optional<QByteArray>("application/x-www-form-urlencoded charset=utf-8"));
    QCOMPARE(request.header("Content-Length"), std::optional(QByteArray::number(body.size())));
    QCOMPARE(request.headerCount("Content-Length"), 1);
}

void TestWayfarUpdateInstaller::theArchiveIsTheBodyByteForByte()
{
    const QByteArray pack = world().zip({{u"Trailbook/Trailbook.toc"_s, QByteArray("## Version: 2\r\n\0\xff", 17)}});
    QVERIFY(pack.startsWith("PK"));
    world().vendor().addAccount(u"ann"_s, u"key"_s, "page");
    world().vendor().setPack(pack);
    world().storeAccount(u"ann"_s, u"key"_s);
    QVERIFY(m_download->run());
    QCOMPARE(m_download->results, QList<bool>{true});
    QCOMPARE(archived(), pack);
    QCOMPARE(m_download->installer->totalSize(), pack.size());
    QCOMPARE(m_download->installer->totalDownloaded(), pack.size());
}

void TestWayfarUpdateInstaller::aPieceIsReportedWhenItIsWritten_data()
{
    QTest::addColumn<VendorAnswer::Length>("length");
    QTest::addColumn<QList<double>>("percentages");
    QTest::newRow("of a known length") << VendorAnswer::Length::Exact << QList<double>{16, 50, 100};
    QTest::newRow("until the connection ends") << VendorAnswer::Length::Absent << QList<double>{-100, -300, -600};
}

void TestWayfarUpdateInstaller::aPieceIsReportedWhenItIsWritten()
{
    QFETCH(const VendorAnswer::Length, length);
    m_download->answer(inSteps(answerOf(length, "abcdef"), {1, 2, 3}));
    QList<QByteArray> written;
    QList<qint64> counted;
    m_download->atProgress = [&] {
        written.append(archived());
        counted.append(m_download->installer->totalDownloaded());
        world().vendor().step();
    };
    QVERIFY(m_download->run());
    QTEST(m_download->percentages, "percentages");
    QCOMPARE(written, (QList<QByteArray>{"a", "abc", "abcdef"}));
    QCOMPARE(counted, (QList<qint64>{1, 3, 6}));
    QCOMPARE(m_download->results, QList<bool>{true});
}

void TestWayfarUpdateInstaller::aBodyWithoutBytesGivesAnEmptyArchiveAndNoReport()
{
    world().write(world().archive(), "old");
    m_download->answer(answerWith({}));
    QVERIFY(m_download->run());
    QVERIFY(m_download->percentages.isEmpty());
    QCOMPARE(m_download->results, QList<bool>{true});
    QVERIFY(QFileInfo::exists(world().archive()));
    QCOMPARE(archived(), "");
}

void TestWayfarUpdateInstaller::anAnswerOfAnyStatusIsSavedAndEndsWell_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {200, 302, 401, 404, 503})
        QTest::addRow("%d", status) << status;
}

void TestWayfarUpdateInstaller::anAnswerOfAnyStatusIsSavedAndEndsWell()
{
    QFETCH(const int, status);
    m_download->answer(answerWith("Error|no archive at all", status));
    QVERIFY(m_download->run());
    QCOMPARE(m_download->results, QList<bool>{true});
    QCOMPARE(archived(), "Error|no archive at all");
}

void TestWayfarUpdateInstaller::theOldArchiveIsGoneWhenTheStartHasReturned()
{
    world().write(world().archive(), "old");
    m_download->answer(answerWith("new"));
    m_download->installer->downloadUpdate();
    QVERIFY(!QFileInfo::exists(world().archive()));
    QTRY_COMPARE(m_download->results, QList<bool>{true});
    QCOMPARE(archived(), "new");
}

void TestWayfarUpdateInstaller::anOutageEndsBadlyAndLeavesWhatArrived_data()
{
    addOutages("abcdefghij");
}

void TestWayfarUpdateInstaller::anOutageEndsBadlyAndLeavesWhatArrived()
{
    QFETCH(const Outage, outage);
    world().write(world().archive(), "old");
    outage.strike(world(), PackDownload::remotePath);
    m_download->installer = m_download->newInstaller();
    m_download->installer->setDelegate(m_download.get());
    QVERIFY(m_download->run());
    QCOMPARE(m_download->results, QList<bool>{false});
    QCOMPARE(m_download->percentages.isEmpty(), outage.arrived.value_or("").isEmpty());
    QCOMPARE(QFileInfo::exists(world().archive()), outage.arrived.has_value());
    QCOMPARE(archived(), outage.arrived.value_or(""));
}

void TestWayfarUpdateInstaller::withoutASupportFolderTheDownloadEndsWell()
{
    world().write(world().path(u"data"_s), "a file where a folder should be");
    m_download->answer(answerWith("abcd"));
    QVERIFY(m_download->run());
    QCOMPARE(m_download->percentages, QList<double>{100});
    QCOMPARE(m_download->results, QList<bool>{true});
}

void TestWayfarUpdateInstaller::theTransferKeepsTheInstallerAndNeedsNoDelegate_data()
{
    QTest::addColumn<VendorAnswer>("answer");
    QTest::addColumn<QByteArray>("saved");
    QTest::newRow("good end") << answerWith("abcd") << QByteArray("abcd");
    QTest::newRow("bad end") << brokenAfter(2, "abcd") << QByteArray("ab");
}

void TestWayfarUpdateInstaller::theTransferKeepsTheInstallerAndNeedsNoDelegate()
{
    QFETCH(const VendorAnswer, answer);
    m_download->answer(answer);
    QCOMPARE(m_download->installer->delegate(), m_download.get());
    m_download->installer->setDelegate(nullptr);
    m_download->installer->downloadUpdate();
    const std::weak_ptr<WayfarUpdateInstaller> watched = m_download->installer;
    m_download->installer.reset();
    QVERIFY(!watched.expired());
    QTRY_VERIFY(watched.expired()); // the transfer is over
    QTEST(archived(), "saved");
    QVERIFY(m_download->results.isEmpty());
}

QTEST_GUILESS_MAIN(TestWayfarUpdateInstaller)
#include "TestWayfarUpdateInstaller.moc"
