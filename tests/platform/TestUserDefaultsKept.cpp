#include "platform/UserDefaults.h"

#include "support/TestWorld.h"

#include <QDir>
#include <QJsonDocument>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

// Files that must not be lost, and where a link leads to.
class TestUserDefaultsKept : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_world = std::make_unique<TestWorld>(); }
    void cleanup() { m_world.reset(); }

    void aFileTooBigToBeReadIsNotReplaced_data();
    void aFileTooBigToBeReadIsNotReplaced();
    void aDamagedFileThatCannotBeSetAsideIsNotReplaced();
    void theLeftoversBesideALinksTargetAreRemoved_data();
    void theLeftoversBesideALinksTargetAreRemoved();

private:
    QString file() const { return m_world->path(u"own/preferences.json"_s); }
    QStringList namesIn(const QString &folder) const
    {
        return QDir(m_world->path(folder)).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

    std::unique_ptr<TestWorld> m_world;
};

void TestUserDefaultsKept::aFileTooBigToBeReadIsNotReplaced_data()
{
    QTest::addColumn<bool>("whileRunning");
    QTest::newRow("at the start") << false;
    QTest::newRow("while running") << true;
}

void TestUserDefaultsKept::aFileTooBigToBeReadIsNotReplaced()
{
    constexpr qint64 TooBig = 64 * 1024 * 1024 + 1;
    QFETCH(const bool, whileRunning);
    const auto grow = [this] {
        m_world->write(file(), "{\"wayfaruser\": \"ann\"}");
        QCOMPARE(::truncate(QFile::encodeName(file()).constData(), TooBig), 0);
    };
    if (!whileRunning)
        grow();
    const QByteArray log = standardErrorOf([&] {
        UserDefaults defaults(file(), {});
        if (whileRunning)
            grow();
        defaults.setObject(u"autoLaunch"_s, true);
        QCOMPARE(defaults.boolForKey(u"autoLaunch"_s), true);
        defaults.synchronize();
        QCOMPARE(defaults.boolForKey(u"autoLaunch"_s), true);
    });
    QCOMPARE(QFileInfo(file()).size(), TooBig);
    QCOMPARE(namesIn(u"own"_s), (QStringList{u"preferences.json"_s, u"preferences.json.lock"_s}));
    QVERIFY(log.startsWith("The preferences are kept for this run only"));
}

// The link lies where nothing may be renamed; what it leads to could well be replaced. A developer who owns the link's
// folder sees the link itself set aside, which keeps the file just as well.
void TestUserDefaultsKept::aDamagedFileThatCannotBeSetAsideIsNotReplaced()
{
    const QString target = m_world->path(u"elsewhere/real.json"_s);
    m_world->write(target, "{\"wayfaruser\": \"an");
    m_world->write(file() + u".lock"_s, "");
    QVERIFY(QFile::link(target, file()));
    QCOMPARE(::chmod(QFile::encodeName(file() + u".lock"_s).constData(), 0666), 0);
    QCOMPARE(::chmod(QFile::encodeName(m_world->path(u"elsewhere"_s)).constData(), 0777), 0);
    QCOMPARE(::chmod(QFile::encodeName(m_world->path(u"own"_s)).constData(), 0555), 0);
    standardErrorOf([&] {
        const OrdinaryUser player;
        UserDefaults defaults(file(), {});
        defaults.setObject(u"autoLaunch"_s, true);
        QCOMPARE(defaults.boolForKey(u"autoLaunch"_s), true);
    });
    QCOMPARE(m_world->read(target), "{\"wayfaruser\": \"an");
    QCOMPARE(namesIn(u"elsewhere"_s), QStringList{u"real.json"_s});
}

void TestUserDefaultsKept::theLeftoversBesideALinksTargetAreRemoved_data()
{
    QTest::addColumn<bool>("relative");
    QTest::newRow("absolute link") << false;
    QTest::newRow("relative link") << true;
}

void TestUserDefaultsKept::theLeftoversBesideALinksTargetAreRemoved()
{
    QFETCH(const bool, relative);
    const QString target = m_world->path(u"elsewhere/real.json"_s);
    for (const QString &name : {target + u".new"_s, file() + u".notes"_s, target + u".broken"_s})
        m_world->write(name, "{\"wayfarpasswd\": \"secret\"}");
    m_world->write(target, "{}");
    QVERIFY(QFile::link(relative ? u"../elsewhere/real.json"_s : target, file()));
    UserDefaults(file(), {}).setObject(u"a"_s, 1);
    QCOMPARE(namesIn(u"elsewhere"_s), (QStringList{u"real.json"_s, u"real.json.broken"_s}));
    QCOMPARE(QJsonDocument::fromJson(m_world->read(target)).object(), QJsonObject({{u"a"_s, 1}}));
    QVERIFY(QFileInfo(file()).isSymLink());
}

QTEST_GUILESS_MAIN(TestUserDefaultsKept)
#include "TestUserDefaultsKept.moc"
