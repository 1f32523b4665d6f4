#include "support/TestWorld.h"

#include "places/Preferences.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryFile>
#include <QTest>

#include <linux/capability.h>
#include <sys/fsuid.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
// QTemporaryDir fails with read-only folders and with names that are not UTF-8.
void removeTree(const QString &folder)
{
    FileManager::makeTreeWritable(toPath(folder));
    (void)FileManager::removeItem(toPath(folder));
}
} // namespace

TestWorld::TestWorld()
{
    QFile::setPermissions(m_folder.path(), QFile::permissions(m_folder.path()) | QFile::ReadOther | QFile::ExeOther);
    qputenv("HOME", path(u"home"_s).toLocal8Bit());
    qputenv("XDG_DATA_HOME", path(u"data"_s).toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", path(u"config"_s).toLocal8Bit());
    qputenv("XDG_CONFIG_DIRS", path(u"etc"_s).toLocal8Bit());
    m_defaults = std::make_unique<UserDefaults>();
    m_defaults->setObject(Preferences::installPath.key, gameFolder());
}

TestWorld::~TestWorld()
{
    removeTree(m_folder.path());
}

QString TestWorld::path(const QString &below) const
{
    return below.isEmpty() ? m_folder.path() : m_folder.filePath(below);
}

QString TestWorld::supportFolder() const
{
    return path(u"data/WayfarInstaller"_s);
}

QString TestWorld::archive() const
{
    return supportFolder() + u"/download.zip"_s;
}

QString TestWorld::gameFolder() const
{
    return path(u"game"_s);
}

QString TestWorld::addOnFolder() const
{
    return gameFolder() + u"/_retail_/Interface/AddOns"_s;
}

QString TestWorld::preferencesFile() const
{
    return path(u"config/WayfarInstaller/preferences.json"_s);
}

void TestWorld::storeAccount(const std::optional<QString> &user, const std::optional<QString> &password)
{
    if (user)
        m_defaults->setObject(Preferences::userName.key, *user);
    if (password)
        m_defaults->setObject(Preferences::password.key, *password);
}

UrlLoader &TestWorld::loader()
{
    if (!m_loader)
        useVendor(network());
    return *m_loader;
}

VendorServer &TestWorld::vendor()
{
    if (!m_vendor)
        m_vendor = std::make_unique<VendorServer>();
    return *m_vendor;
}

void TestWorld::stopVendor()
{
    (void)loader(); // it still leads to that port; made later, it would start another vendor
    m_vendor.reset();
}

VendorSite TestWorld::site() const
{
    return {u"wayfar.example"_s, u"download.wayfar.example"_s};
}

UrlLoaderSettings TestWorld::network()
{
    return {.caFile = vendor().caFile(), .connectTo = vendor().connectTo()};
}

void TestWorld::useVendor(const UrlLoaderSettings &settings)
{
    m_loader = std::make_unique<UrlLoader>(settings);
}

void TestWorld::goOffline()
{
    useVendor({.connectTo = {"::127.0.0.1:1"}}); // nothing listens there
}

void TestWorld::write(const QString &file, const QByteArray &bytes) const
{
    QVERIFY(QDir().mkpath(QFileInfo(file).path()));
    QFile out(file);
    QVERIFY(out.open(QIODevice::WriteOnly));
    QCOMPARE(out.write(bytes), bytes.size());
}

QByteArray TestWorld::read(const QString &file) const
{
    QFile in(file);
    return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
}

QStringList TestWorld::namesIn(const QString &folder) const
{
    return QDir(path(folder))
        .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

void TestWorld::installPack(const QByteArray &version) const
{
    write(addOnFolder() + u"/Trailbook/Trailbook.toc"_s, "## Title: Trailbook\n## Version: " + version + "\n");
    write(addOnFolder() + u"/Trailbook/Old.lua"_s, "-- old\n");
}

QByteArray TestWorld::zip(const QList<std::pair<QString, QByteArray>> &entries) const
{
    const QTemporaryDir folder;
    QStringList arguments = {u"-qry"_s, folder.filePath(u"made.zip"_s)};
    for (const auto &[name, bytes] : entries) {
        const QString file = folder.filePath(u"in/"_s + name);
        if (name.endsWith(u'/'))
            QDir().mkpath(file);
        else
            write(file, bytes);
        const QString top = name.section(u'/', 0, 0);
        if (!arguments.contains(top))
            arguments.append(top);
    }
    QProcess tool;
    tool.setWorkingDirectory(folder.filePath(u"in"_s));
    tool.start(u"zip"_s, arguments);
    tool.waitForFinished();
    return read(folder.filePath(u"made.zip"_s));
}

QByteArray zipOf(const QByteArray &commands, const QStringList &zipOptions)
{
    const QTemporaryDir folder;
    QProcess shell;
    shell.setWorkingDirectory(folder.path());
    shell.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    shell.start(u"/bin/sh"_s,
                QStringList{u"-ec"_s,
                            u"mkdir in; cd in; "_s + QString::fromUtf8(commands) + u"\nzip -qry \"$@\" ../made.zip ."_s,
                            u"sh"_s}
                    + zipOptions);
    shell.waitForFinished();
    QFile archive(folder.filePath(u"made.zip"_s));
    const QByteArray bytes = archive.open(QIODevice::ReadOnly) ? archive.readAll() : QByteArray();
    removeTree(folder.path());
    return bytes;
}

namespace
{
constexpr uid_t nobody = 65534;

// Root of a namespace of its own knows no other user to become, but can do without its rights over files.
void useFileRights(bool used)
{
    constexpr __u32 rights = 1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH | 1U << CAP_FOWNER;
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3] = {};
    ::syscall(SYS_capget, &header, sets);
    sets[0].effective = used ? sets[0].effective | (sets[0].permitted & rights) : sets[0].effective & ~rights;
    ::syscall(SYS_capset, &header, sets);
}
} // namespace

OrdinaryUser::OrdinaryUser()
{
    if (::geteuid() == 0) {
        ::setfsgid(nobody);
        ::setfsuid(nobody);
        useFileRights(false);
    }
}

OrdinaryUser::~OrdinaryUser()
{
    if (::geteuid() == 0) {
        useFileRights(true);
        ::setfsuid(0);
        ::setfsgid(0);
    }
}

QByteArray standardErrorOf(const std::function<void()> &action)
{
    QTemporaryFile file;
    file.open();
    std::fflush(stderr);
    const int kept = ::dup(STDERR_FILENO);
    ::dup2(file.handle(), STDERR_FILENO);
    action();
    std::fflush(stderr);
    ::dup2(kept, STDERR_FILENO);
    ::close(kept);
    file.seek(0);
    return file.readAll();
}
