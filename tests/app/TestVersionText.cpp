#include "support/Program.h"

#include <QApplication>

using namespace Qt::StringLiterals;

namespace
{
using Version = std::optional<QString>;

// The versions' requests so far, and the state of the window, each time the status line is painted during a wait.
class PaintWatch : public QObject
{
public:
    explicit PaintWatch(const VendorServer &vendor) : m_vendor(vendor) { qApp->installEventFilter(this); }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const QCursor *cursor = QApplication::overrideCursor();
        if (event->type() == QEvent::Paint && watched->objectName() == u"statusLabel" && cursor
            && cursor->shape() == Qt::WaitCursor)
            requestsWhenPainted.append(m_vendor.requests("/api/wayfarVersion").size());
        return QObject::eventFilter(watched, event);
    }

    QList<qsizetype> requestsWhenPainted;

private:
    const VendorServer &m_vendor;
};
} // namespace

class TestVersionText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theButtonReadsPlayOnlyForTheSameText_data();
    void theButtonReadsPlayOnlyForTheSameText();
    void withoutThePublishedVersionTheButtonReadsUpdate_data();
    void withoutThePublishedVersionTheButtonReadsUpdate();
    void theBarIsLeftAsItIsWhenThereIsAnUpdate();
    void onTheMainThreadTheWindowIsPaintedWithTheWaitCursorFirst();
    void noWaitCursorIsLeftBehind();
};

void TestVersionText::theButtonReadsPlayOnlyForTheSameText_data()
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
    QTest::newRow("another letter case") << QByteArray("1.2.6-RC") << QByteArray("1.2.6-rc") << update;
    QTest::newRow("a published line end") << QByteArray("1.2.6") << QByteArray("1.2.6\r\n") << play;
    QTest::newRow("a published lone line feed") << QByteArray("1.2.6") << QByteArray("1.2.6\n") << update;
    QTest::newRow("a published blank") << QByteArray("1.2.6") << QByteArray("1.2.6 ") << update;
    QTest::newRow("an empty version on both sides") << QByteArray("") << QByteArray("") << play;
    QTest::newRow("no pack, and \"none\" published") << QByteArray() << QByteArray("none") << play;
    QTest::newRow("an error page") << QByteArray("1.2.6") << QByteArray("<h1>500</h1>") << update;
}

void TestVersionText::theButtonReadsPlayOnlyForTheSameText()
{
    QFETCH(const QByteArray, installed);
    QFETCH(const QByteArray, published);
    QFETCH(const QString, button);
    TestWorld world;
    if (!installed.isNull())
        world.installPack(installed);
    world.vendor().setPackVersion(published);
    Program program(world);
    program.delegate.updateVersionText();
    QCOMPARE(program.delegate.buttonText(), button);
    QCOMPARE(program.delegate.currentVersion(), installed.isNull() ? u"none"_s : QString::fromLatin1(installed));
    QCOMPARE(program.delegate.updateVersion(), QString::fromLatin1(published).remove(u"\r\n"_s));
    QCOMPARE(program.delegate.updateProgressbar(), button == u"Play" ? 100.0 : 0.0);
}

void TestVersionText::withoutThePublishedVersionTheButtonReadsUpdate_data()
{
    QTest::addColumn<bool>("offline");
    QTest::addColumn<QByteArray>("installed");
    QTest::newRow("no network, a pack") << true << QByteArray("1.2.6");
    QTest::newRow("no network, no pack") << true << QByteArray();
    QTest::newRow("no ASCII") << false << QByteArray("1.2.6");
}

void TestVersionText::withoutThePublishedVersionTheButtonReadsUpdate()
{
    QFETCH(const bool, offline);
    QFETCH(const QByteArray, installed);
    TestWorld world;
    if (!installed.isNull())
        world.installPack(installed);
    if (offline)
        world.goOffline();
    else
        world.vendor().setPackVersion("1.2.6\xc2\xa0");
    Program program(world);
    program.delegate.updateVersionText();
    QCOMPARE(program.delegate.updateVersion(), Version());
    QCOMPARE(program.delegate.buttonText(), u"Update"_s);
}

void TestVersionText::theBarIsLeftAsItIsWhenThereIsAnUpdate()
{
    TestWorld world;
    Program program(world);
    program.delegate.setUpdateProgressbar(42);
    program.delegate.updateVersionText();
    QCOMPARE(program.delegate.buttonText(), u"Update"_s);
    QCOMPARE(program.delegate.updateProgressbar(), 42.0);
}

void TestVersionText::onTheMainThreadTheWindowIsPaintedWithTheWaitCursorFirst()
{
    TestWorld world;
    Program program(world);
    QVERIFY(program.start());
    const qsizetype before = world.vendor().requests("/api/wayfarVersion").size();
    const PaintWatch watch(world.vendor());
    program.delegate.updateVersionText();
    QVERIFY(!watch.requestsWhenPainted.isEmpty());
    QCOMPARE(watch.requestsWhenPainted.constFirst(), before);
    QCOMPARE(world.vendor().requests("/api/wayfarVersion").size(), before + 1);
}

void TestVersionText::noWaitCursorIsLeftBehind()
{
    TestWorld world;
    Program program(world);
    QVERIFY(program.start());
    QVERIFY(!QApplication::overrideCursor());
    program.delegate.updateVersionText();
    QVERIFY(!QApplication::overrideCursor());
}

QTEST_MAIN(TestVersionText)
#include "TestVersionText.moc"
