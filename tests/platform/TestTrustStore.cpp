#include "platform/TrustStore.h"

#include "support/Files.h"

#include <QTemporaryDir>
#include <QTest>

class TestTrustStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theFirstFileThatIsThereCounts_data();
    void theFirstFileThatIsThereCounts();
};

void TestTrustStore::theFirstFileThatIsThereCounts_data()
{
    QTest::addColumn<QByteArrayList>("there");
    QTest::addColumn<QByteArray>("chosen");
    QTest::newRow("libcurl's own before others") << QByteArrayList{"own", "debian", "fedora"} << QByteArray("own");
    QTest::newRow("another distribution's") << QByteArrayList{"fedora"} << QByteArray("fedora");
    QTest::newRow("in their order") << QByteArrayList{"fedora", "debian"} << QByteArray("debian");
    QTest::newRow("none") << QByteArrayList() << QByteArray();
}

void TestTrustStore::theFirstFileThatIsThereCounts()
{
    QFETCH(const QByteArrayList, there);
    QFETCH(const QByteArray, chosen);
    const QTemporaryDir world;
    const QByteArray folder = QFile::encodeName(world.path()) + '/';
    for (const QByteArray &name : there)
        makeFile((folder + name).constData());
    QCOMPARE(TrustStore::firstOf(folder + "own", {folder + "debian", folder + "fedora"}),
             chosen.isEmpty() ? QByteArray() : folder + chosen);
}

QTEST_GUILESS_MAIN(TestTrustStore)
#include "TestTrustStore.moc"
