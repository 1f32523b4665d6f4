#include "pack/PackInstallation.h"

#include "support/Installation.h"
#include "support/Tree.h"

#include <QTest>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

// The game on a volume that is mounted read-only. No administrator's rights help there, so none are asked for.
class TestPackInstallationReadOnly : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nobodyIsAskedAndNothingChanges_data();
    void nobodyIsAskedAndNothingChanges();
};

void TestPackInstallationReadOnly::nobodyIsAskedAndNothingChanges_data()
{
    QTest::addColumn<QByteArray>("before"); // in the game folder
    QTest::newRow("an installed add-on") << QByteArray("mkdir -p _retail_/Interface/AddOns/Trailbook; "
                                                       "echo old >_retail_/Interface/AddOns/Trailbook/Old.lua");
    QTest::newRow("no add-on") << QByteArray(":");
    QTest::newRow("no add-on folder") << QByteArray("rm -r _retail_");
}

void TestPackInstallationReadOnly::nobodyIsAskedAndNothingChanges()
{
    QFETCH(const QByteArray, before);
    Installation test;
    const QString game = test.world.gameFolder();
    runIn(game, before);
    const QByteArrayList tree = treeOf(game);

    const QByteArray name = QFile::encodeName(game);
    const char *const folder = name.constData();
    QCOMPARE(::mount(folder, folder, nullptr, MS_BIND, nullptr), 0);
    QCOMPARE(::mount(nullptr, folder, nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY | MS_NOSUID | MS_NODEV, nullptr), 0);
    const FileError refusal = FileManager::createEmptyFile(toPath(game + u"/file"_s));
    test.install();
    QCOMPARE(::umount2(folder, MNT_DETACH), 0);

    QCOMPARE(refusal.code, FileError::VolumeReadOnly);
    QCOMPARE(test.entries, 1);
    QCOMPARE(test.administrator.scripts, QByteArrayList());
    QCOMPARE(treeOf(game), tree);
}

// The mounts are this process's own. The namespace comes first of all, since a thread made before would stay outside.
int main(int argc, char *argv[])
{
    const int namespaces = CLONE_NEWNS | (::geteuid() == 0 ? 0 : CLONE_NEWUSER);
    if (::unshare(namespaces) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        std::printf("SKIP: no namespace for a read-only mount: %s\n", std::strerror(errno));
        return 77;
    }
    QCoreApplication application(argc, argv);
    TestPackInstallationReadOnly test;
    return QTest::qExec(&test, argc, argv);
}
#include "TestPackInstallationReadOnly.moc"
