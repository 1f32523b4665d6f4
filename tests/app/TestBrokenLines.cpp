#include "support/Answers.h"
#include "support/Program.h"

#include "controls/ImageView.h"
#include "places/Preferences.h"
#include "resources/Pictures.h"

#include <QImage>

using namespace Qt::StringLiterals;

// The line breaks at one request of a run, on a connection that earlier requests kept open. Nothing is sent again.
class TestBrokenLines : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void aRequestOfTheStartIsSentOnce_data();
    void aRequestOfTheStartIsSentOnce();
    void aRequestAfterTheStartIsSentOnce_data();
    void aRequestAfterTheStartIsSentOnce();

private:
    QString status() const { return m_program->delegate.statusStr().value_or(QString()); }
    QByteArray page(const QString &name) const { return m_world->read(m_world->supportFolder() + u'/' + name); }

    std::unique_ptr<TestWorld> m_world;
    std::unique_ptr<Program> m_program;
};

using Check = std::function<bool(const AppDelegate &)>;
Q_DECLARE_METATYPE(Check)

void TestBrokenLines::init()
{
    m_program.reset();
    m_world = std::make_unique<TestWorld>();
    m_world->vendor().addAccount(u"rowan"_s, u"secret"_s, "<p>page</p>");
    m_world->defaults().setObject(Preferences::userName.key, u"rowan"_s);
    m_world->defaults().setObject(Preferences::password.key, u"secret"_s);
    m_program = std::make_unique<Program>(*m_world);
}

void TestBrokenLines::aRequestOfTheStartIsSentOnce_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<Check>("showsABrokenLine");
    QTest::newRow("login") << QByteArray("/api/dlCheckUser") << Check([](const AppDelegate &delegate) {
        return delegate.statusStr() == u"Incorrect Login...";
    });
    QTest::newRow("large banner") << QByteArray("/installer/banners/large.png")
                                  << Check([](const AppDelegate &delegate) {
                                         return delegate.largeImage()->image() == Pictures::imageNamed(u"large"_s);
                                     });
    QTest::newRow("small banner") << QByteArray("/installer/banners/small.png")
                                  << Check([](const AppDelegate &delegate) {
                                         return delegate.smallImage()->image() == Pictures::imageNamed(u"small"_s);
                                     });
    QTest::newRow("pack version") << QByteArray("/api/wayfarVersion")
                                  << Check([](const AppDelegate &delegate) { return !delegate.updateVersion(); });
    QTest::newRow("feed") << QByteArray("/feed") << Check([](const AppDelegate &) { return true; });
}

void TestBrokenLines::aRequestOfTheStartIsSentOnce()
{
    QFETCH(const QByteArray, path);
    QFETCH(const Check, showsABrokenLine);
    m_world->vendor().setAnswer(path, brokenOff());
    QVERIFY(m_program->start());
    QCOMPARE(m_world->vendor().requests(path).size(), 1);
    QTRY_VERIFY(showsABrokenLine(m_program->delegate));
    if (path == "/feed")
        QVERIFY(page(u"rssfeed.html"_s).endsWith(QByteArray("<\0/\0b\0o\0d\0y\0>\0<\0h\0t\0m\0l\0>\0", 26)));
}

void TestBrokenLines::aRequestAfterTheStartIsSentOnce_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::newRow("pack download") << QByteArray("/api/dlGuide");
    QTest::newRow("change log") << QByteArray("/api/changelog");
    QTest::newRow("second login") << QByteArray("/api/dlCheckUser");
    QTest::newRow("version after a repair") << QByteArray("/api/wayfarVersion");
}

void TestBrokenLines::aRequestAfterTheStartIsSentOnce()
{
    QFETCH(const QByteArray, path);
    QVERIFY(m_program->start());
    m_world->vendor().clearRequests();
    m_world->vendor().setAnswer(path, brokenOff());
    if (path == "/api/dlGuide") {
        m_program->delegate.update(u"Update"_s);
        QTRY_COMPARE(status(), u"Update download failed. Please retry"_s);
    } else if (path == "/api/changelog") {
        m_program->delegate.getLogs();
    } else if (path == "/api/dlCheckUser") {
        m_program->delegate.reLogin();
        QCOMPARE(status(), u"Incorrect Login..."_s);
    } else {
        m_program->delegate.repairtInstallation();
        QVERIFY(!m_program->delegate.updateVersion());
    }
    QCOMPARE(m_world->vendor().requests(path).size(), 1);
}

QTEST_MAIN(TestBrokenLines)
#include "TestBrokenLines.moc"
