#include "check/VendorCheck.h"

#include "account/UserLogin.h"
#include "check/ArchiveVerdicts.h"
#include "check/BannerVerdict.h"
#include "check/ExchangeVerdict.h"
#include "check/FeedVerdict.h"
#include "check/TextVerdicts.h"
#include "pack/WayfarVersion.h"

#include <QUrl>

using namespace Qt::StringLiterals;

namespace
{
constexpr QSize largeBanner(960, 176);
constexpr QSize smallBanner(300, 100);
} // namespace

VendorCheck::VendorCheck(const VendorSite &site, const UrlLoaderSettings &network, const FormPairs &account,
                         const Report &report)
    : m_site(site), m_account(account), m_report(report), m_inspector(network)
{
}

bool VendorCheck::run()
{
    askAsAStartDoes();
    reportStart();
    if (!m_accountPage.isEmpty())
        ask({FormEncoding::formRequest(m_site.accountCheck(), {}), u"the status reads \"Incorrect Login...\""_s,
             u"the account page"_s},
            [this](const QByteArray &body) { return TextVerdicts::refusal(body, m_accountPage); });
    ask({{.url = m_site.changeLog()}, u"the change log's window stays empty"_s, u"the change log"_s},
        TextVerdicts::changeLog);
    askForPack();
    askForInstaller();
    askForBannerTarget();
    return m_isRight;
}

// In the program's order, so that connections are kept as a start keeps them.
void VendorCheck::askAsAStartDoes()
{
    const QString builtIn = u"the built-in picture is shown"_s;
    m_installerVersion = QString::fromUtf8(
        ask({{.url = m_site.installerVersion()}, u"every start ends with an alert"_s, u"the installer's version"_s},
            TextVerdicts::installerVersion));
    ask({{.url = m_site.feed()}, u"the news pane stays empty"_s, u"the news"_s}, FeedVerdict::of);
    askForAccount();
    ask({{.url = m_site.largeBanner()}, builtIn, u"the banner"_s},
        [](const QByteArray &body) { return BannerVerdict::of(body, largeBanner); });
    ask({{.url = m_site.smallBanner()}, builtIn, u"the banner"_s},
        [](const QByteArray &body) { return BannerVerdict::of(body, smallBanner); });
    const QByteArray version =
        ask({{.url = m_site.packVersion()}, u"the button reads \"Update\""_s, u"the pack's version"_s},
            TextVerdicts::packVersion);
    m_packVersion = versionInAnswer(version).value_or(QString());
}

void VendorCheck::askForAccount()
{
    const Route route = {FormEncoding::formRequest(m_site.accountCheck(), m_account),
                         u"the status reads \"Incorrect Login...\""_s, u"the account page"_s};
    if (m_account.isEmpty())
        ask(route, [](const QByteArray &body) { return TextVerdicts::refusal(body, std::nullopt); });
    else
        m_accountPage = ask(route, TextVerdicts::accountPage);
}

void VendorCheck::reportStart()
{
    m_report(u"One start of the program"_s,
             {.right = {u"%1 requests, %2 connections, %3 KB in their answers"_s.arg(m_requests)
                            .arg(m_connections)
                            .arg(m_bytes / 1024)}});
}

void VendorCheck::askForPack()
{
    const Route route = {FormEncoding::formRequest(m_site.packDownload(), m_account),
                         u"an alert says that the download failed"_s, u"the pack"_s};
    const FilePath archive = toPath(m_folder.filePath(u"pack.zip"_s));
    Verdict verdict;
    if (download(route, archive, verdict)) {
        const QByteArray content = FileManager::contentsOfFile(archive).value_or(QByteArray());
        if (m_account.isEmpty() && UserLogin::isRefusal(content))
            verdict.notes += u"An empty form gets no pack. Name an account to have the pack looked at."_s;
        else
            verdict.add(ArchiveVerdicts::pack(archive, m_packVersion));
    }
    conclude(route.request, verdict);
}

void VendorCheck::askForInstaller()
{
    const bool isKnown = TextVerdicts::installerVersion(m_installerVersion.toUtf8()).isRight();
    const Route route = {{.url = m_site.installerArchive(isKnown ? m_installerVersion : u"VERSION"_s)},
                         u"the upgrade ends with an alert, and the program with it"_s,
                         u"the new installer"_s};
    const FilePath archive = toPath(m_folder.filePath(u"installer.zip"_s));
    Verdict verdict;
    if (!isKnown)
        verdict.notes += u"Not asked for: there is no right version."_s;
    else if (download(route, archive, verdict))
        verdict.add(ArchiveVerdicts::installer(archive, m_installerVersion));
    conclude(route.request, verdict);
}

// The browser's own business, from where it leads on.
void VendorCheck::askForBannerTarget()
{
    const UrlRequest request = {.url = m_site.bannerTarget()};
    const UrlInspection inspection = m_inspector.inspect(
        request, [](QByteArrayView) {}, UrlInspector::Redirects::LookedAt);
    conclude(request, ExchangeVerdict::ofBannerTarget(inspection));
}

QByteArray VendorCheck::ask(const Route &route, const Judge &judge)
{
    QByteArray body;
    Verdict verdict;
    const UrlInspection inspection = exchange(
        route, [&body](QByteArrayView piece) { body.append(piece); }, verdict);
    if (inspection.error.isEmpty())
        verdict.add(judge(body));
    conclude(route.request, verdict);
    return inspection.error.isEmpty() ? body : QByteArray();
}

bool VendorCheck::download(const Route &route, const FilePath &archive, Verdict &verdict)
{
    (void)FileManager::createEmptyFile(archive);
    const UrlInspection inspection = exchange(
        route, [&archive](QByteArrayView piece) { FileManager::appendToExistingFile(archive, piece); }, verdict);
    if (inspection.error.isEmpty() && inspection.announcedLength < 0)
        verdict.wrong += u"No length is announced: the bar shows no percentage."_s;
    return inspection.error.isEmpty();
}

UrlInspection VendorCheck::exchange(const Route &route, const UrlInspector::Take &take, Verdict &verdict)
{
    const UrlInspection inspection = m_inspector.inspect(route.request, take);
    ++m_requests;
    m_connections += inspection.newConnections;
    m_bytes += inspection.size;
    verdict.add(ExchangeVerdict::of(inspection, route.request, route.unanswered, route.takenAs));
    verdict.add(judgeCertificate(route.request, inspection.certificateEnd));
    return inspection;
}

// Once for each host.
Verdict VendorCheck::judgeCertificate(const UrlRequest &request, const QDateTime &end)
{
    const QString host = QUrl(request.url).host();
    if (!end.isValid() || m_hosts.contains(host))
        return {};
    m_hosts.insert(host);
    return ExchangeVerdict::ofCertificate(host, end);
}

void VendorCheck::conclude(const UrlRequest &request, const Verdict &verdict)
{
    m_isRight = m_isRight && verdict.isRight();
    m_report(QString::fromLatin1(request.method) + u' ' + request.url, verdict);
}
