#include "platform/DesktopColors.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QString path = u"/org/freedesktop/portal/desktop"_s;
const QString settings = u"org.freedesktop.portal.Settings"_s;

// Answers as the settings portal does: a value in a variant in a variant, or an error.
class Portal : public QDBusVirtualObject
{
public:
    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override
    {
        asked.append(message.member() + u' ' + message.arguments().value(0).toString() + u' '
                     + message.arguments().value(1).toString());
        if (scheme < 0)
            return bus.send(message.createErrorReply(u"org.freedesktop.portal.Error.NotFound"_s, u"no such setting"_s));
        const QDBusVariant inner{QVariant(uint(scheme))};
        return bus.send(message.createReply(QVariant::fromValue(QDBusVariant(QVariant::fromValue(inner)))));
    }

    int scheme = -1;
    QStringList asked;
};
} // namespace

// On a session bus of the test's own.
class TestDesktopColors : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void thePortalsAnswerIsTold_data();
    void thePortalsAnswerIsTold();
    void aChangeIsTold();
    void withoutAPortalNothingIsTold();
    void withoutABusNothingIsAsked();

private:
    void change(const QString &key, uint scheme, const QString &group = u"org.freedesktop.appearance"_s);

    QProcess m_bus;
    Portal m_portal;
};

void TestDesktopColors::initTestCase()
{
    m_bus.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
    QVERIFY(m_bus.waitForReadyRead());
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.readLine().trimmed());
    QDBusConnection portal =
        QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), u"portal"_s);
    QVERIFY(portal.registerVirtualObject(path, &m_portal));
    QVERIFY(portal.registerService(u"org.freedesktop.portal.Desktop"_s));
}

void TestDesktopColors::cleanupTestCase()
{
    m_bus.terminate();
    m_bus.waitForFinished();
}

void TestDesktopColors::thePortalsAnswerIsTold_data()
{
    QTest::addColumn<int>("scheme");
    QTest::addColumn<bool>("dark");
    QTest::newRow("no wish") << 0 << false;
    QTest::newRow("dark") << 1 << true;
    QTest::newRow("light") << 2 << false;
}

void TestDesktopColors::thePortalsAnswerIsTold()
{
    QFETCH(const int, scheme);
    QFETCH(const bool, dark);
    m_portal.scheme = scheme;
    m_portal.asked.clear();
    DesktopColors colors;
    QSignalSpy told(&colors, &DesktopColors::darkPreferred);
    colors.start();
    QVERIFY(told.isEmpty()); // nobody waits for the portal
    QVERIFY(told.wait());
    QCOMPARE(told.constFirst(), QVariantList{dark});
    QCOMPARE(m_portal.asked, QStringList{u"Read org.freedesktop.appearance color-scheme"_s});
}

void TestDesktopColors::change(const QString &key, uint scheme, const QString &group)
{
    QDBusMessage signal = QDBusMessage::createSignal(path, settings, u"SettingChanged"_s);
    signal.setArguments({group, key, QVariant::fromValue(QDBusVariant(scheme))});
    QVERIFY(QDBusConnection(u"portal"_s).send(signal));
}

void TestDesktopColors::aChangeIsTold()
{
    m_portal.scheme = 0;
    DesktopColors colors;
    QSignalSpy told(&colors, &DesktopColors::darkPreferred);
    colors.start();
    QVERIFY(told.wait());
    told.clear();
    change(u"accent-color"_s, 1);
    change(u"color-scheme"_s, 1, u"org.example.somebody"_s);
    change(u"color-scheme"_s, 1);
    QVERIFY(told.wait());
    change(u"color-scheme"_s, 2);
    QVERIFY(told.wait());
    QCOMPARE(told.size(), 2);
    QCOMPARE(told[0], QVariantList{true});
    QCOMPARE(told[1], QVariantList{false});
}

void TestDesktopColors::withoutAPortalNothingIsTold()
{
    m_portal.scheme = -1;
    m_portal.asked.clear();
    DesktopColors colors;
    QSignalSpy told(&colors, &DesktopColors::darkPreferred);
    colors.start();
    QTRY_VERIFY(!m_portal.asked.isEmpty());
    change(u"color-scheme"_s, 1); // comes behind the error
    QVERIFY(told.wait());
    QCOMPARE(told.size(), 1);
}

void TestDesktopColors::withoutABusNothingIsAsked()
{
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("XDG_RUNTIME_DIR", "/nowhere");
    m_portal.asked.clear();
    DesktopColors colors;
    colors.start();
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    qputenv("XDG_RUNTIME_DIR", runtime);
    DesktopColors later; // its question would come behind
    later.start();
    QTRY_VERIFY(!m_portal.asked.isEmpty());
    QCOMPARE(m_portal.asked.size(), 1);
}

QTEST_GUILESS_MAIN(TestDesktopColors)
#include "TestDesktopColors.moc"
