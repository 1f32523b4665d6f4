#include "support/Installation.h"

#include <QApplication>
#include <QTest>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include <sched.h>
#include <sys/mount.h>

using namespace Qt::StringLiterals;

// The game on a volume that is mounted read-only. No administrator's rights help there, so none are asked for.
class TestPackInstallationReadOnly : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_test = std::make_unique<Installation>(); }
    void cleanup();

    void anInstalledAddOnStays();
    void aNewEntryIsNotCopied();
    void aMissingFolderChainIsNotMade();

private:
    void mountReadOnly();

    std::unique_ptr<Installation> m_test;
    QByteArray m_mounted;
};

void TestPackInstallationReadOnly::mountReadOnly()
{
    m_mounted = QFile::encodeName(m_test->world.gameFolder());
    const char *folder = m_mounted.constData();
    QCOMPARE(::mount(folder, folder, nullptr, MS_BIND, nullptr), 0);
    QCOMPARE(::mount(nullptr, folder, nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY | MS_NOSUID | MS_NODEV, nullptr), 0);
    QCOMPARE(FileManager::createEmptyFile(toPath(m_test->world.gameFolder() + u"/file"_s)).code,
             FileError::VolumeReadOnly);
}

// Whatever was there: the player is told that it is done, and asked nothing.
void TestPackInstallationReadOnly::cleanup()
{
    if (!m_mounted.isEmpty())
        QCOMPARE(::umount2(m_mounted.constData(), MNT_DETACH), 0);
    m_mounted.clear();
    QCOMPARE(m_test->program.administrator.scripts, QList<QByteArray>());
    QVERIFY(m_test->program.alert.shown.isEmpty());
    QCOMPARE(m_test->statuses, (QStringList{u"Installing..."_s, u"Update Installed."_s}));
    m_test.reset();
}

void TestPackInstallationReadOnly::anInstalledAddOnStays()
{
    m_test->world.installPack("1");
    mountReadOnly();
    m_test->install(zipOf("mkdir Trailbook; echo new >Trailbook/New.lua"));
    QCOMPARE(m_test->installed(u"Trailbook/Old.lua"_s), QByteArray("-- old\n"));
    QVERIFY(!QFile::exists(m_test->addOn(u"Trailbook/New.lua"_s)));
}

void TestPackInstallationReadOnly::aNewEntryIsNotCopied()
{
    mountReadOnly();
    m_test->install(zipOf("mkdir Trailbook; echo new >Trailbook/New.lua"));
    QVERIFY(QDir(m_test->world.addOnFolder()).isEmpty());
}

void TestPackInstallationReadOnly::aMissingFolderChainIsNotMade()
{
    QVERIFY(QDir(m_test->world.gameFolder() + u"/_retail_"_s).removeRecursively());
    mountReadOnly();
    m_test->install(zipOf("mkdir Trailbook; echo new >Trailbook/New.lua"));
    QVERIFY(QDir(m_test->world.gameFolder()).isEmpty());
}

// The mounts are this process's own. The namespace comes first of all, since a thread made before would stay outside.
int main(int argc, char *argv[])
{
    const int namespaces = CLONE_NEWNS | (::geteuid() == 0 ? 0 : CLONE_NEWUSER);
    if (::unshare(namespaces) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        std::printf("SKIP: no namespace for a read-only mount: %s\n", std::strerror(errno));
        return 77;
    }
    QApplication application(argc, argv);
    TestPackInstallationReadOnly test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestPackInstallationReadOnly.moc"
