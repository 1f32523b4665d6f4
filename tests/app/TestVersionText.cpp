#include "support/Program.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestVersionText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theSameTextReadsPlayWithAFullBar_data();
    void theSameTextReadsPlayWithAFullBar();
    void nothingThatTheWaitsEndBringsSeesAStaleButton();
    void withoutThePublishedVersionTheButtonReadsUpdate();
    void onTheMainThreadTheWindowIsPaintedWithTheWaitCursorFirst();
};

void TestVersionText::theSameTextReadsPlayWithAFullBar_data()
{
    QTest::addColumn<QByteArray>("installed"); // null: no pack
    QTest::addColumn<QByteArray>("published");
    QTest::addColumn<QString>("button");
    const QString play = u"Play"_s;
    const QString update = u"Update"_s;
    QTest::newRow("the same") << QByteArray("1.2.6") << QByteArray("1.2.6") << play;
    QTest::newRow("an older pack") << QByteArray("1.2.5") << QByteArray("1.2.6") << update;
    QTest::newRow("a newer pack") << QByteArray("1.2.7") << QByteArray("1.2.6") << update;
    QTest::newRow("no pack") << QByteArray() << QByteArray("1.2.6") << update;
    QTest::newRow("a trailing zero group") << QByteArray("1.2") << QByteArray("1.2.0") << update;
    QTest::newRow("a published line end") << QByteArray("1.2.6") << QByteArray("1.2.6\r\n") << play;
    QTest::newRow("another letter case") << QByteArray("1.2.6-RC") << QByteArray("1.2.6-rc") << update;
    QTest::newRow("a published lone line feed") << QByteArray("1.2.6") << QByteArray("1.2.6\n") << update;
    QTest::newRow("a published blank") << QByteArray("1.2.6") << QByteArray("1.2.6 ") << update;
    QTest::newRow("an installed tab") << QByteArray("\t1.2.6") << QByteArray("1.2.6") << update;
    QTest::newRow("an empty version on both sides") << QByteArray("") << QByteArray("") << play;
    QTest::newRow("no pack, and \"none\" published") << QByteArray() << QByteArray("none") << play;
    QTest::newRow("an error page") << QByteArray("1.2.6") << QByteArray("<h1>500</h1>") << update;
}

void TestVersionText::theSameTextReadsPlayWithAFullBar()
{
    QFETCH(const QByteArray, installed);
    QFETCH(const QByteArray, published);
    QFETCH(const QString, button);
    TestWorld world;
    if (!installed.isNull())
        world.installPack(installed);
    world.vendor().setPackVersion(published);
    Program program(world);
    program.delegate.setUpdateProgressbar(42);
    program.delegate.updateVersionText();
    QCOMPARE(program.delegate.buttonText(), button);
    QCOMPARE(program.delegate.currentVersion(), installed.isNull() ? u"none"_s : QString::fromLatin1(installed));
    QCOMPARE(program.delegate.updateVersion(), QString::fromLatin1(published).remove(u"\r\n"_s));
    QCOMPARE(program.delegate.updateProgressbar(), button == u"Play" ? 100.0 : 42.0);
}

// The wait for the answer ends with events: an automatic launch may be among them.
void TestVersionText::nothingThatTheWaitsEndBringsSeesAStaleButton()
{
    TestWorld world;
    world.goOffline();
    Program program(world);
    program.delegate.setButtonText(u"Play"_s); // of a pack that is gone since
    std::optional<QString> seen;
    QMetaObject::invokeMethod(
        &program.delegate, [&] { seen = program.delegate.buttonText(); }, Qt::QueuedConnection);
    program.delegate.updateVersionText();
    QCOMPARE(seen, u"Update"_s);
}

void TestVersionText::withoutThePublishedVersionTheButtonReadsUpdate()
{
    TestWorld world;
    world.installPack("1.2.6");
    world.goOffline();
    Program program(world);
    program.delegate.updateVersionText();
    QCOMPARE(program.delegate.updateVersion(), std::nullopt);
    QCOMPARE(program.delegate.buttonText(), u"Update"_s);
}

void TestVersionText::onTheMainThreadTheWindowIsPaintedWithTheWaitCursorFirst()
{
    TestWorld world;
    Program program(world);
    QVERIFY(program.start());
    world.vendor().clearRequests();
    QList<qsizetype> requestsWhenPainted;
    const WaitWatch watch([&] { requestsWhenPainted.append(world.vendor().requests("/api/wayfarVersion").size()); });
    program.delegate.updateVersionText();
    QCOMPARE(requestsWhenPainted.value(0, -1), 0);
    QCOMPARE(world.vendor().requests("/api/wayfarVersion").size(), 1);
    QVERIFY(!QApplication::overrideCursor());
}

QTEST_MAIN(TestVersionText)
#include "TestVersionText.moc"
