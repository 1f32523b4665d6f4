#include "upgrade/InstallerReplacement.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestNewBundle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theVersionIsInTheName_data();
    void theVersionIsInTheName();
    void aVersionThatIsNoNameGivesNoPaths_data();
    void aVersionThatIsNoNameGivesNoPaths();
    void withoutAnUnpackFolderThereIsNoSource();
    void aBundleAtTheRootHasItsNeighbourThere();
};

namespace
{
const FilePath update = "/home/rowan/data/WayfarInstaller/update";
const QString running = QStringLiteral("/opt/my games/WayfarRoutes_1.2.6.app");
} // namespace

void TestNewBundle::theVersionIsInTheName_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("plain") << u"1.3"_s << QByteArray("WayfarRoutes_1.3.app");
    QTest::newRow("unshortened") << u"1.3.0"_s << QByteArray("WayfarRoutes_1.3.0.app");
    QTest::newRow("blank") << u"1 3"_s << QByteArray("WayfarRoutes_1 3.app");
    QTest::newRow("quotes") << u"1'3\""_s << QByteArray("WayfarRoutes_1'3\".app");
    QTest::newRow("backslash") << u"1\\3"_s << QByteArray("WayfarRoutes_1\\3.app");
    QTest::newRow("percent sign") << u"1%2f3"_s << QByteArray("WayfarRoutes_1%2f3.app");
    QTest::newRow("placeholder") << u"%@"_s << QByteArray("WayfarRoutes_%@.app");
    QTest::newRow("line end") << u"1.3\n"_s << QByteArray("WayfarRoutes_1.3\n.app");
    QTest::newRow("two dots alone stay in their folder") << u".."_s << QByteArray("WayfarRoutes_...app");
}

void TestNewBundle::theVersionIsInTheName()
{
    QFETCH(const QString, version);
    QFETCH(const QByteArray, name);
    const NewBundle bundle = NewBundle::of(version, update, running);
    QCOMPARE(QByteArray::fromStdString(bundle.source.value_or("").native()),
             "/home/rowan/data/WayfarInstaller/update/" + name);
    QCOMPARE(QByteArray::fromStdString(bundle.destination.value_or("").native()), "/opt/my games/" + name);
}

void TestNewBundle::aVersionThatIsNoNameGivesNoPaths_data()
{
    QTest::addColumn<QString>("version");
    QTest::newRow("out of the folder") << u"/../../1.3"_s;
    QTest::newRow("up at once") << u"../1.3"_s;
    QTest::newRow("below") << u"1/3"_s;
    QTest::newRow("a slash alone") << u"/"_s;
    QTest::newRow("absolute") << u"/etc/x"_s;
    QTest::newRow("an end before the suffix") << u"1.3"_s + QChar(0);
}

void TestNewBundle::aVersionThatIsNoNameGivesNoPaths()
{
    QFETCH(const QString, version);
    const NewBundle bundle = NewBundle::of(version, update, running);
    QVERIFY(!bundle.source);
    QVERIFY(!bundle.destination);
}

void TestNewBundle::withoutAnUnpackFolderThereIsNoSource()
{
    const NewBundle bundle = NewBundle::of(u"1.3"_s, std::nullopt, running);
    QVERIFY(!bundle.source);
    QVERIFY(bundle.destination);
}

void TestNewBundle::aBundleAtTheRootHasItsNeighbourThere()
{
    QCOMPARE(NewBundle::of(u"1.3"_s, update, u"/Old.app"_s).destination, OptionalPath("/WayfarRoutes_1.3.app"));
}

QTEST_APPLESS_MAIN(TestNewBundle)
#include "TestNewBundle.moc"
