#include "support/Replacement.h"

#include <filesystem>

using namespace Qt::StringLiterals;

namespace fs = std::filesystem;

namespace
{
using Tree = QMap<QByteArray, QByteArray>; // each path below a folder, with what it is

Tree treeOf(const QString &folder)
{
    Tree tree;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(toPath(folder))) {
        const fs::file_status status = entry.symlink_status();
        QByteArray what = QByteArray::number(int(status.type())) + ' ' + QByteArray::number(int(status.permissions()));
        if (fs::is_regular_file(status))
            what += ' ' + FileManager::contentsOfFile(entry.path()).value_or("unreadable");
        tree.insert(QByteArray::fromStdString(entry.path().native()), what);
    }
    return tree;
}

QList<QByteArray> differences(const Tree &before, const Tree &after)
{
    QList<QByteArray> paths;
    for (auto entry = before.begin(); entry != before.end(); ++entry) {
        if (after.value(entry.key()) != entry.value())
            paths.append(entry.key());
    }
    for (const QByteArray &path : after.keys()) {
        if (!before.contains(path))
            paths.append(path);
    }
    return paths;
}
} // namespace

// The version comes from the network and becomes a part of two paths and of a command line.
class TestInstallerReplacementNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_test.reset(); }

    void aVersionNamesABundleOrNothing_data();
    void aVersionNamesABundleOrNothing();
    void nothingOutsideTheTwoFoldersIsTouched_data();
    void nothingOutsideTheTwoFoldersIsTouched();
    void nobodyIsAskedWithoutABundleOfThatName_data();
    void nobodyIsAskedWithoutABundleOfThatName();

private:
    QList<QByteArray> changesOf(const std::function<void()> &action) const
    {
        const Tree before = treeOf(m_test->world.path());
        action();
        return differences(before, treeOf(m_test->world.path()));
    }
    void makeBundle(const QString &version) const
    {
        m_test->world.write(m_test->unpacked(version) + u"/usr/version"_s, version.toUtf8());
    }
    void verifyOnlyTheBundleMoved(const QString &version, const QList<QByteArray> &changes) const
    {
        const QByteArray source = QFile::encodeName(m_test->unpacked(version));
        const QByteArray destination = QFile::encodeName(m_test->newBundle(version));
        for (const QByteArray &path : changes)
            QVERIFY2(path.startsWith(source) || path.startsWith(destination), path.constData());
    }

    std::unique_ptr<Replacement> m_test;
};

void TestInstallerReplacementNames::init()
{
    m_test = std::make_unique<Replacement>();
    m_test->world.write(m_test->world.archive(), zipOf(": >readme"));
    m_test->world.write(m_test->updateFolder() + u"/readme"_s, "");
    // What a version with slashes in it would reach: the folders that make its way, and what stands at its end.
    for (const QString &folder : {m_test->updateFolder(), m_test->applicationFolder()}) {
        QDir().mkpath(folder + u"/WayfarRoutes_.."_s);
        QDir().mkpath(folder + u"/WayfarRoutes_1"_s);
    }
    m_test->world.write(m_test->world.supportFolder() + u"/precious.app/file"_s, "precious");
    m_test->world.write(m_test->updateFolder() + u"/precious.app/file"_s, "precious");
    m_test->world.write(m_test->updateFolder() + u"/WayfarRoutes_1/3.app/file"_s, "precious");
}

void TestInstallerReplacementNames::aVersionNamesABundleOrNothing_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("closed");
    QTest::addColumn<QStringList>("journal"); // "launch" without its path
    const QStringList started = {u"launch"_s, u"terminate"_s};
    const QStringList copied = {u"administrator"_s, u"launch"_s, u"terminate"_s};
    const QStringList told = {u"alert"_s, u"exit 1"_s};
    const QStringList notCompiled = {u"administrator"_s, u"alert"_s, u"exit 1"_s}; // no prompt comes of it
    const auto rows = [](const char *name, const QString &version, const QStringList &open, const QStringList &closed) {
        QTest::addRow("%s", name) << version << false << open;
        QTest::addRow("%s, application folder closed", name) << version << true << closed;
    };
    rows("plain", u"1.3.0"_s, started, copied);
    rows("a blank", u"1 3"_s, started, copied);
    rows("a blank at the end", u"1.3 "_s, started, copied);
    rows("a percent sign", u"1%2f..%2f3"_s, started, copied);
    rows("a placeholder", u"%@"_s, started, copied);
    rows("a placeholder of Qt's", u"%1"_s, started, copied);
    rows("two dots", u".."_s, started, copied);
    rows("a line end", u"1.3\n"_s, started, copied);
    rows("a command", u"$(touch x)`touch y`;touch z"_s, started, copied);
    rows("signs of the shell", u"*?[a]{b,c}~&|<>#!"_s, started, copied);
    rows("an option", u"-rf"_s, started, copied);
    rows("a single quote", u"1'3"_s, started, told);
    rows("two single quotes", u"1'; touch x; '3"_s, started, told);
    rows("a double quote", u"1\"3"_s, started, notCompiled);
    rows("a backslash", u"1\\3"_s, started, notCompiled);
    rows("a backslash at the end", u"1.3\\"_s, started, notCompiled);
}

void TestInstallerReplacementNames::aVersionNamesABundleOrNothing()
{
    QFETCH(const QString, version);
    QFETCH(const bool, closed);
    QFETCH(const QStringList, journal);
    makeBundle(version);
    if (closed)
        m_test->closeApplicationFolder();
    const QList<QByteArray> changes = changesOf([&] { m_test->installAsThePlayer(version, std::nullopt); });
    verifyOnlyTheBundleMoved(version, changes);
    QStringList deeds = m_test->journal;
    QCOMPARE(deeds.removeAll(u"launch "_s + m_test->newBundle(version)), journal.count(u"launch"_s));
    QStringList expected = journal;
    expected.removeAll(u"launch"_s);
    QCOMPARE(deeds, expected);
    const bool arrived = journal.contains(u"launch"_s);
    QCOMPARE(m_test->versionIn(m_test->newBundle(version)), arrived ? version.toUtf8() : QByteArray());
    QCOMPARE(QFile::exists(m_test->unpacked(version)), closed); // moved, or copied
}

void TestInstallerReplacementNames::nothingOutsideTheTwoFoldersIsTouched_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("closed");
    const std::pair<const char *, QString> versions[] = {
        {"up", u"../../precious"_s},
        {"up to the support folder", u"../../../precious"_s},
        {"up out of a bundle's folder", u"1/../../../precious"_s},
        {"down", u"1/3"_s},
        {"a slash", u"/"_s},
        {"absolute", u"/tmp/x"_s},
        {"a null", u"1"_s + QChar(0) + u'3'},
    };
    for (const auto &[name, version] : versions) {
        QTest::addRow("%s", name) << version << false;
        QTest::addRow("%s, application folder closed", name) << version << true;
    }
}

void TestInstallerReplacementNames::nothingOutsideTheTwoFoldersIsTouched()
{
    QFETCH(const QString, version);
    QFETCH(const bool, closed);
    if (closed)
        m_test->closeApplicationFolder();
    const QList<QByteArray> changes = changesOf([&] { m_test->installAsThePlayer(version, std::nullopt); });
    QCOMPARE(changes, QList<QByteArray>());
    QCOMPARE(m_test->journal, QStringList{u"terminate"_s});
}

void TestInstallerReplacementNames::nobodyIsAskedWithoutABundleOfThatName_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("another"); // bundle is there
    for (const QString &version : {u"1.3.0"_s, u"1 3"_s, u"1'3"_s, u"1\"3"_s, u"1\\3"_s, u"%@"_s, u"1.3.0\n"_s,
                                   QString(300, u'9'), u"$(touch x)"_s}) {
        const QByteArray name = version.left(20).toUtf8().replace('\n', "<line end>");
        QTest::addRow("%s", name.constData()) << version << false;
        QTest::addRow("%s, another bundle", name.constData()) << version << true;
    }
}

void TestInstallerReplacementNames::nobodyIsAskedWithoutABundleOfThatName()
{
    QFETCH(const QString, version);
    QFETCH(const bool, another);
    if (another)
        makeBundle(u"1.3"_s);
    m_test->closeApplicationFolder();
    const QList<QByteArray> changes = changesOf([&] { m_test->installAsThePlayer(version, std::nullopt); });
    QCOMPARE(changes, QList<QByteArray>());
    QCOMPARE(m_test->journal, m_test->launchThenEnd(version));
}

QTEST_MAIN(TestInstallerReplacementNames)
#include "TestInstallerReplacementNames.moc"
