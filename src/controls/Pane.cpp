#include "controls/Pane.h"

#include "controls/NavigationPolicy.h"
#include "controls/PageStyle.h"
#include "controls/Theme.h"

#include <QAccessible>
#include <QApplication>
#include <QFileInfo>
#include <QFontInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QWebEngineDownloadRequest>
#include <QWebEngineFullScreenRequest>
#include <QWebEngineNewWindowRequest>
#include <QWebEnginePage>
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
#include <QWebEnginePermission>
#endif
#include <QWebEngineProfile>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>

using namespace Qt::StringLiterals;

namespace
{
// When the keyboard comes to a link, the engine tells tools of the link first and of the whole page last, so that the
// link is not spoken. It is left for a moment and gets the keyboard back.
const QString tellOfTheLink = uR"(
(function () {
    const link = document.activeElement;
    const afterFrames = (count, act) => requestAnimationFrame(() => count > 1 ? afterFrames(count - 1, act) : act());
    if (!link || link === document.body)
        return;
    afterFrames(2, () => {
        link.blur();
        afterFrames(2, () => link.focus({ preventScroll: true }));
    });
})();
)"_s;

void restrict(QWebEngineSettings &settings)
{
    settings.setAttribute(QWebEngineSettings::LocalContentCanAccessFileUrls, false);
    settings.setAttribute(QWebEngineSettings::LocalContentCanAccessRemoteUrls, true); // the account page's pictures
    settings.setAttribute(QWebEngineSettings::JavascriptCanOpenWindows, false); // without a click
    settings.setAttribute(QWebEngineSettings::PluginsEnabled, false);
    settings.setAttribute(QWebEngineSettings::FullScreenSupportEnabled, false);
    settings.setAttribute(QWebEngineSettings::ErrorPageEnabled, false);
    settings.setUnknownUrlSchemePolicy(QWebEngineSettings::DisallowUnknownUrlSchemes);
}

// The desktop's font, a little larger than in labels: it is for reading.
void dressText(QWebEngineSettings &settings, const QFont &font)
{
    for (const auto family :
         {QWebEngineSettings::StandardFont, QWebEngineSettings::SerifFont, QWebEngineSettings::SansSerifFont})
        settings.setFontFamily(family, font.family());
    settings.setFontSize(QWebEngineSettings::DefaultFontSize, qRound(QFontInfo(font).pixelSize() * 1.25));
}

// The engine hands its pages to assistive tools, whenever one runs, if this stands in the environment that it starts
// in. What we start ourselves is not to inherit it.
std::shared_ptr<QWebEngineProfile> profileOpenToTools()
{
    constexpr const char *openToTools = "QTWEBENGINE_ENABLE_LINUX_ACCESSIBILITY";
    const bool isOurs = !qEnvironmentVariableIsSet(openToTools);
    if (isOurs)
        qputenv(openToTools, "1");
    auto profile = std::make_shared<QWebEngineProfile>(); // without a name: off the record
    if (isOurs)
        qunsetenv(openToTools);
    return profile;
}

std::shared_ptr<QWebEngineProfile> sharedProfile()
{
    static std::weak_ptr<QWebEngineProfile> shared;
    auto profile = shared.lock();
    if (profile)
        return profile;
    profile = profileOpenToTools();
    restrict(*profile->settings());
    QObject::connect(profile.get(), &QWebEngineProfile::downloadRequested, profile.get(),
                     [](QWebEngineDownloadRequest *download) { download->cancel(); });
    shared = profile;
    return profile;
}
} // namespace

class Pane::Page : public QWebEnginePage
{
public:
    Page(QWebEngineProfile *profile, QObject *parent) : QWebEnginePage(profile, parent)
    {
        // window.open, target=_blank and a middle click come here, and not to acceptNavigationRequest.
        connect(this, &QWebEnginePage::newWindowRequested, this, [this](QWebEngineNewWindowRequest &request) {
            if (mayGoTo(request.requestedUrl()))
                load(request.requestedUrl());
        });
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
        connect(this, &QWebEnginePage::permissionRequested, this,
                [](const QWebEnginePermission &permission) { permission.deny(); });
#else
        connect(this, &QWebEnginePage::featurePermissionRequested, this, [this](const QUrl &origin, Feature feature) {
            setFeaturePermission(origin, feature, PermissionDeniedByUser);
        });
#endif
        connect(this, &QWebEnginePage::fullScreenRequested, this,
                [](QWebEngineFullScreenRequest request) { request.reject(); });
        connect(this, &QWebEnginePage::loadStarted, this, [this] { isLeaving = false; });
    }

    NavigationPolicy *policy = nullptr;
    bool isLeaving = false; // loadFile replaces the page

protected:
    // The engine lets no page go to another file by itself, since pages may read none: we load that file instead.
    bool acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame) override
    {
        if (!mayGoTo(url))
            return false;
        const bool isPagesWay = isMainFrame && type != NavigationTypeTyped && url.isLocalFile();
        if (isPagesWay)
            QMetaObject::invokeMethod(
                this, [this, url] { load(url); }, Qt::QueuedConnection);
        return !isPagesWay;
    }
    // A page's dialog would look like one of ours: none is shown. The question whether to leave is answered with yes
    // when we replace the page.
    void javaScriptAlert(const QUrl &, const QString &) override { }
    bool javaScriptConfirm(const QUrl &, const QString &) override
    {
        return isLeaving;
    }
    bool javaScriptPrompt(const QUrl &, const QString &, const QString &, QString *) override
    {
        return false;
    }
    QStringList chooseFiles(FileSelectionMode, const QStringList &, const QStringList &) override
    {
        return {};
    }

private:
    bool mayGoTo(const QUrl &url)
    {
        return policy && policy->webViewDecidePolicyForNavigationAction(url);
    }
};

Pane::Pane(QWidget *parent)
    : QWebEngineView(parent), m_profile(sharedProfile()), m_page(new Page(m_profile.get(), nullptr))
{
    setPage(m_page);
    setContextMenuPolicy(Qt::NoContextMenu); // "Reload" and "View source" are a browser's
    Theme::follow(*this, [this](const QPalette &palette) { dress(palette); });
    connect(this, &QWebEngineView::loadFinished, this, [this] {
        // A screen reader speaks a page's title when it comes to it. As JSON no name can end the text early.
        const QByteArray name = QJsonDocument(QJsonArray{accessibleName()}).toJson(QJsonDocument::Compact);
        m_page->runJavaScript(u"document.title = document.title || %1[0]"_s.arg(QString::fromUtf8(name)),
                              QWebEngineScript::ApplicationWorld);
    });
    connect(qApp, &QApplication::focusChanged, this, [this](const QWidget *, const QWidget *now) {
        if (now && now == focusProxy() && QAccessible::isActive())
            m_page->runJavaScript(tellOfTheLink, QWebEngineScript::ApplicationWorld);
    });
}

Pane::~Pane()
{
    setPage(nullptr);
    delete m_page; // before the profile it belongs to
}

void Pane::setPolicyDelegate(NavigationPolicy *policy)
{
    m_page->policy = policy;
}

void Pane::dressPages(const QString &sheet)
{
    m_sheet = sheet;
    dress(window()->palette());
}

// The page that is shown, and those that come.
void Pane::dress(const QPalette &palette)
{
    dressText(*m_profile->settings(), QGuiApplication::font());
    m_page->setBackgroundColor(Theme::color(u"paper"_s, palette));
    QWebEngineScript script;
    script.setSourceCode(PageStyle::script(m_sheet, palette));
    script.setInjectionPoint(QWebEngineScript::DocumentReady);
    script.setWorldId(QWebEngineScript::ApplicationWorld);
    m_page->scripts().clear();
    m_page->scripts().insert(script);
    m_page->runJavaScript(script.sourceCode(), script.worldId());
}

void Pane::loadFile(const QString &path)
{
    m_page->isLeaving = true;
    if (QFileInfo::exists(path))
        load(QUrl::fromLocalFile(path));
    else
        setHtml({});
}
