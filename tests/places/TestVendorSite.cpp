#include "places/VendorSite.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestVendorSite : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyAddressIsTheAgreedOne_data();
    void everyAddressIsTheAgreedOne();
};

void TestVendorSite::everyAddressIsTheAgreedOne_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("agreed");

    const VendorSite site = {u"site.example"_s, u"files.example"_s};
    const auto row = [](const char *name, const QString &address, const QString &agreed) {
        QTest::newRow(name) << address << agreed;
    };
    row("installer version", site.installerVersion(), u"https://site.example/api/macVersion"_s);
    row("pack version", site.packVersion(), u"https://site.example/api/wayfarVersion"_s);
    row("news", site.feed(), u"https://www.site.example/feed"_s);
    row("large banner", site.largeBanner(), u"https://site.example/installer/banners/large.png"_s);
    row("small banner", site.smallBanner(), u"https://site.example/installer/banners/small.png"_s);
    row("change log", site.changeLog(), u"https://site.example/api/changelog"_s);
    row("installer", site.installerArchive(u"1.3.0"_s), u"https://files.example/WayfarRoutes_1.3.0.zip"_s);
    row("installer of an odd version", site.installerArchive(u"a b/ü"_s),
        u"https://files.example/WayfarRoutes_a b/ü.zip"_s);
    row("account check", site.accountCheck(), u"https://site.example/api/dlCheckUser"_s);
    row("pack", site.packDownload(), u"https://site.example/api/dlGuide"_s);
    row("the web site", site.homePage(), u"https://www.site.example/"_s);
    row("behind a banner", site.bannerTarget(), u"https://www.site.example/installer/redirect.php"_s);
    row("the host that players know", site.wwwHost(), u"www.site.example"_s);
}

void TestVendorSite::everyAddressIsTheAgreedOne()
{
    QFETCH(const QString, address);
    QTEST(address, "agreed");
}

QTEST_GUILESS_MAIN(TestVendorSite)
#include "TestVendorSite.moc"
