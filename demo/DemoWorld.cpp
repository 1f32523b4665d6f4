#include "demo/DemoWorld.h"

#include "platform/UserDefaults.h"
#include "places/Preferences.h"

#include <QDir>
#include <QFile>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{
const QString folder = QStringLiteral(DEMO_FOLDER);
const QString home = folder + u"/home"_s;
const QString game = folder + u"/game"_s;
const QString addOn = game + u"/_retail_/Interface/AddOns/Trailbook"_s;
const QString launcher = game + u"/launcher.sh"_s;
const QString launchMark = game + u"/launched"_s;

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error(("can't write " + path.toLocal8Bit()).constData());
}

QByteArray content(const QString &name)
{
    return contentsOf(QStringLiteral(DEMO_CONTENT) + u'/' + name);
}
} // namespace

DemoWorld::DemoWorld()
{
    for (const QString &old : {home, game})
        QDir(old).removeRecursively();
    qputenv("XDG_DATA_HOME", (home + u"/data"_s).toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (home + u"/config"_s).toLocal8Bit());
    publish();
    installOldPack();
    writeLauncher();
    writePreferences();
}

VendorSite DemoWorld::site() const
{
    return {u"wayfar.example"_s, u"download.wayfar.example"_s};
}

UrlLoaderSettings DemoWorld::network() const
{
    return {.caFile = m_vendor.caFile(), .connectTo = m_vendor.connectTo()};
}

QByteArray DemoWorld::pack() const
{
    return contentsOf(QStringLiteral(DEMO_PACK));
}

QString DemoWorld::picture(const QString &name) const
{
    return folder + u'/' + name + u".png"_s;
}

bool DemoWorld::wasLaunched() const
{
    return QFile::exists(launchMark);
}

void DemoWorld::forgetLaunch() const
{
    QFile::remove(launchMark);
}

void DemoWorld::forgetPreferences() const
{
    QDir(home + u"/config"_s).removeRecursively();
}

void DemoWorld::useLongTexts()
{
    const QString name = u"Bartholomew Featherstonehaugh of the Upper Ravenglass Valley"_s;
    const QByteArray version = "2026.11.22-beta.3";
    m_vendor.addAccount(name, u"long road"_s, content(u"account.html"_s));
    m_vendor.setPackVersion(version);
    UserDefaults defaults;
    defaults.setObject(Preferences::userName.key, name);
    defaults.setObject(Preferences::installPath.key, game + u"/somewhere else/in a folder of a long name"_s);
    defaults.setObject(Preferences::launchPath.key, game + u"/a launcher that was there once.sh"_s);
}

QByteArray DemoWorld::installedToc() const
{
    return contentsOf(addOn + u"/Trailbook.toc"_s);
}

void DemoWorld::publish()
{
    m_vendor.addAccount(u"rowan"_s, u"long road"_s, content(u"account.html"_s));
    m_vendor.setInstallerVersion(DEMO_VERSION);
    m_vendor.setPackVersion("1.2.6");
    m_vendor.setPack(pack());
    m_vendor.setFeed(content(u"feed.xml"_s));
    m_vendor.setChangeLog(content(u"changelog.txt"_s));
    m_vendor.setBanners(content(u"banners-small/small.png"_s), content(u"banners-large/large.png"_s));
}

void DemoWorld::installOldPack()
{
    write(addOn + u"/Trailbook.toc"_s, "## Title: Trailbook\n## Version: 1.2.5\nTrailbook.lua\n");
    write(addOn + u"/Trailbook.lua"_s, "-- last season's routes\n");
}

void DemoWorld::writeLauncher()
{
    write(launcher, "#!/bin/sh\necho started > '" + launchMark.toLocal8Bit() + "'\n");
    QFile::setPermissions(launcher, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

void DemoWorld::writePreferences()
{
    UserDefaults defaults;
    defaults.setObject(Preferences::installPath.key, game);
    defaults.setObject(Preferences::launchPath.key, launcher);
    defaults.setObject(Preferences::userName.key, u"rowan"_s);
    defaults.setObject(Preferences::password.key, u"long road"_s);
}
