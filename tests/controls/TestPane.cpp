#include "support/PageScript.h"
#include "support/TestWorld.h"

#include "controls/Pane.h"

#include "controls/NavigationPolicy.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTest>
#include <QWebEngineDownloadRequest>
#include <QWebEngineProfile>

using namespace Qt::StringLiterals;

namespace
{
// The program's policy: what has a host opens elsewhere.
class RecordingPolicy : public NavigationPolicy
{
public:
    bool webViewDecidePolicyForNavigationAction(const QUrl &url) override
    {
        if (url.host().isEmpty())
            return true;
        elsewhere.append(url);
        return false;
    }

    QList<QUrl> elsewhere;
};

// A page that is nothing but one red link; the script runs before it.
QByteArray linkPage(const QByteArray &attributes, const QByteArray &script = {})
{
    return "<!DOCTYPE html><meta charset=utf-8><title>start</title><script>" + script
        + "</script><a style='position:fixed;inset:0;background:#ff0000;color:#ff0000' " + attributes + ">link</a>";
}

QByteArray scriptPage(const QByteArray &script)
{
    return "<!DOCTYPE html><meta charset=utf-8><title>start</title><body>page<script>" + script + "</script>";
}

// Closes the dialogs that open, and remembers them.
class DialogWatch : public QTimer
{
public:
    DialogWatch()
    {
        callOnTimeout(this, [this] {
            if (QWidget *dialog = QApplication::activeModalWidget()) {
                dialogs.append(QString::fromLatin1(dialog->metaObject()->className()));
                dialog->close();
            }
        });
        start(5);
    }

    QStringList dialogs;
};

const QUrl there(u"https://wayfar.example/there"_s);
} // namespace

class TestPane : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aClickOnAWebAddressOpensItElsewhereOnce_data();
    void aClickOnAWebAddressOpensItElsewhereOnce();
    void aClickOnAFileLoadsItInThePane_data();
    void aClickOnAFileLoadsItInThePane();
    void whatThePageDoesByItselfAsksThePolicyToo_data();
    void whatThePageDoesByItselfAsksThePolicyToo();
    void aScriptOpensNoWindowWithoutAClick();
    void aScriptGetsNoFileAndNoPermission_data();
    void aScriptGetsNoFileAndNoPermission();
    void aScriptOpensNoDialog_data();
    void aScriptOpensNoDialog();
    void aPageCannotHoldThePlayerBack();
    void aDownloadIsRefused_data();
    void aDownloadIsRefused();
    void everyEncodingIsRead_data();
    void everyEncodingIsRead();
    void theSameFileIsReadAfreshAndAMissingOneEmptiesThePane();
    void withoutAPolicyThePaneGoesNowhere();
    void allPanesShareOneProfileWithoutATraceOnDisk();

private:
    void show(const QByteArray &page);
    void click(Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    QString file(const QString &name) const { return m_world->path(name); }
    QString title() const { return m_pane->title(); }

    std::unique_ptr<TestWorld> m_world;
    RecordingPolicy m_policy;
    std::unique_ptr<Pane> m_pane;
};

void TestPane::init()
{
    m_world = std::make_unique<TestWorld>();
    m_world->write(file(u"other.html"_s), "<title>other</title>the other page");
    m_policy.elsewhere.clear();
    m_pane = std::make_unique<Pane>();
    m_pane->setPolicyDelegate(&m_policy);
    m_pane->resize(200, 150);
    m_pane->show();
}

void TestPane::cleanup()
{
    m_pane.reset();
    m_world.reset();
}

void TestPane::show(const QByteArray &page)
{
    m_world->write(file(u"page.html"_s), page);
    QSignalSpy loaded(m_pane.get(), &QWebEngineView::loadFinished);
    m_pane->loadFile(file(u"page.html"_s));
    QVERIFY(waitUntil([&] { return !loaded.isEmpty(); }));
}

// On the page's middle, when its link is drawn there.
void TestPane::click(Qt::MouseButton button, Qt::KeyboardModifiers modifiers)
{
    const QPoint middle = m_pane->rect().center();
    QVERIFY(waitUntil([&] { return m_pane->grab().toImage().pixelColor(middle) == QColor(Qt::red); }));
    QTest::mouseClick(m_pane->focusProxy(), button, modifiers, middle);
}

void TestPane::aClickOnAWebAddressOpensItElsewhereOnce_data()
{
    QTest::addColumn<QByteArray>("page");
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<Qt::KeyboardModifier>("modifier");
    QTest::addColumn<QUrl>("address");
    const auto row = [](const char *name, const QByteArray &page, Qt::MouseButton button = Qt::LeftButton,
                        Qt::KeyboardModifier modifier = Qt::NoModifier,
                        const QUrl &address = there) { QTest::newRow(name) << page << button << modifier << address; };
    const QByteArray link = linkPage("href='https://wayfar.example/there'");
    row("a plain link", link);
    row("with the middle button", link, Qt::MiddleButton);
    row("with Ctrl", link, Qt::LeftButton, Qt::ControlModifier);
    row("with Shift", link, Qt::LeftButton, Qt::ShiftModifier);
    row("a new window", linkPage("href='https://wayfar.example/there' target='_blank'"));
    row("a named window", linkPage("href='https://wayfar.example/there' target='vendor'"));
    row("a script, or else the link",
        linkPage("href='https://wayfar.example/there' onclick='return !window.open(this.href)'"));
    row("a script with a window's name and size",
        linkPage("href='#' onclick=\"window.open('https://wayfar.example/there', 'w', 'width=300'); return false\""));
    row("a script that moves the page",
        linkPage("href='#' onclick=\"location.href = 'https://wayfar.example/there'\""));
    row("another machine's file", linkPage("href='file://server/share/page.html'"), Qt::LeftButton, Qt::NoModifier,
        QUrl(u"file://server/share/page.html"_s));
    row("a form",
        "<form action='https://wayfar.example/there' method='post'><button style="
        "'position:fixed;inset:0;background:#ff0000;color:#ff0000'>link</button></form>");
}

void TestPane::aClickOnAWebAddressOpensItElsewhereOnce()
{
    QFETCH(const QByteArray, page);
    QFETCH(const Qt::MouseButton, button);
    QFETCH(const Qt::KeyboardModifier, modifier);
    QFETCH(const QUrl, address);
    show(page);
    click(button, modifier);
    QVERIFY(waitUntil([this] { return !m_policy.elsewhere.isEmpty(); }));
    QCOMPARE(textOf(*m_pane), u"link"_s);
    QCOMPARE(m_policy.elsewhere, QList<QUrl>{address});
    QCOMPARE(m_pane->url().path(), file(u"page.html"_s));
}

void TestPane::aClickOnAFileLoadsItInThePane_data()
{
    QTest::addColumn<QByteArray>("attributes");
    QTest::newRow("a plain link") << QByteArray("href='other.html'");
    QTest::newRow("a new window") << QByteArray("href='other.html' target='_blank'");
    QTest::newRow("a script, or else the link")
        << QByteArray("href='other.html' onclick='return !window.open(this.href)'");
}

void TestPane::aClickOnAFileLoadsItInThePane()
{
    QFETCH(const QByteArray, attributes);
    show(linkPage(attributes));
    click();
    QVERIFY(waitForText(*m_pane, u"the other page"_s));
    QCOMPARE(m_pane->url().path(), file(u"other.html"_s));
    QVERIFY(m_policy.elsewhere.isEmpty());
}

void TestPane::whatThePageDoesByItselfAsksThePolicyToo_data()
{
    QTest::addColumn<QByteArray>("page");
    QTest::newRow("a frame") << QByteArray("page<iframe src='https://wayfar.example/there'></iframe>");
    QTest::newRow("a refresh") << QByteArray(
        "<meta http-equiv='refresh' content='0;url=https://wayfar.example/there'>page");
    QTest::newRow("a change of location") << scriptPage("location.href = 'https://wayfar.example/there'");
    QTest::newRow("a replaced location") << scriptPage("location.replace('https://wayfar.example/there')");
    QTest::newRow("a form sent by a script") << QByteArray(
        "page<form action='https://wayfar.example/there'></form><script>document.forms[0].submit()</script>");
}

void TestPane::whatThePageDoesByItselfAsksThePolicyToo()
{
    QFETCH(const QByteArray, page);
    m_world->write(file(u"page.html"_s), page);
    m_pane->loadFile(file(u"page.html"_s));
    QVERIFY(waitUntil([this] { return !m_policy.elsewhere.isEmpty(); }));
    QVERIFY(waitForText(*m_pane, u"page"_s));
    QCOMPARE(m_policy.elsewhere.size(), 1);
    QCOMPARE(m_policy.elsewhere.constFirst().path(), u"/there"_s);
    QCOMPARE(m_pane->url().path(), file(u"page.html"_s));
}

void TestPane::aScriptOpensNoWindowWithoutAClick()
{
    const QSignalSpy asked(m_pane->page(), &QWebEnginePage::newWindowRequested);
    show(scriptPage("document.title = String(window.open('https://wayfar.example/there'))"));
    QVERIFY(waitUntil([this] { return title() != u"start"; }));
    QCOMPARE(title(), u"null"_s);
    QVERIFY(asked.isEmpty());
    QVERIFY(m_policy.elsewhere.isEmpty());
}

void TestPane::aScriptGetsNoFileAndNoPermission_data()
{
    QTest::addColumn<QByteArray>("script");
    const auto promise = [](const char *name, const QByteArray &asked) {
        QTest::newRow(name) << asked + ".then(() => tell('granted'), () => tell('refused'))";
    };
    QTest::newRow("fetch") << QByteArray("fetch(target).then(r => r.text()).then(tell, () => tell('refused'));");
    QTest::newRow("a request") << QByteArray("const x = new XMLHttpRequest(); x.onloadend = () => "
                                             "tell(x.responseText || 'refused'); try { x.open('GET', target); x.send();"
                                             " } catch (e) { tell('refused'); }");
    QTest::newRow("a frame") << QByteArray(
        "document.write(`<iframe src='${target}'></iframe>`); onload = () => { try { "
        "tell(frames[0].document.body.innerText || 'refused'); } catch (e) { tell('refused'); } };");
    QTest::newRow("a worker") << QByteArray(
        "try { const w = new Worker(target); w.onerror = () => tell('refused'); w.onmessage = () => tell('secret'); }"
        " catch (e) { tell('refused'); }");
    QTest::newRow("a picture on a canvas") << QByteArray(
        "const i = new Image(); i.onerror = () => tell('refused'); i.onload = () => { try { const c = "
        "document.createElement('canvas'); c.getContext('2d').drawImage(i, 0, 0); tell(c.toDataURL()); } catch (e) { "
        "tell('refused'); } }; i.src = target.replace('secret.txt', 'secret.svg');");
    QTest::newRow("the place") << QByteArray("navigator.geolocation.getCurrentPosition(() => tell('granted'), e => "
                                             "tell(e.code === 1 ? 'refused' : e.message))");
    QTest::newRow("notes on the desktop")
        << QByteArray("Notification.requestPermission().then(p => tell(p === 'denied' ? 'refused' : p))");
    promise("the microphone", "navigator.mediaDevices.getUserMedia({audio: true})");
    promise("the screen", "navigator.mediaDevices.getDisplayMedia({video: true})");
    promise("the clipboard", "navigator.clipboard.readText()");
}

void TestPane::aScriptGetsNoFileAndNoPermission()
{
    QFETCH(const QByteArray, script);
    m_world->write(file(u"secret.txt"_s), "secret");
    m_world->write(file(u"secret.svg"_s), "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>");
    const QByteArray target = QUrl::fromLocalFile(file(u"secret.txt"_s)).toEncoded();
    show(scriptPage("const target = '" + target + "'; const tell = t => { document.title = t; };" + script));
    QVERIFY(waitUntil([this] { return title() != u"start"; }));
    QCOMPARE(title(), u"refused"_s);
}

void TestPane::aScriptOpensNoDialog_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("answer");
    QTest::newRow("alert") << QByteArray("alert('Your password, please')") << u"undefined"_s;
    QTest::newRow("confirm") << QByteArray("confirm('Sure?')") << u"false"_s;
    QTest::newRow("prompt") << QByteArray("prompt('Your password, please')") << u"null"_s;
    QTest::newRow("a file") << QByteArray("document.querySelector('input').click()") << u"undefined"_s;
}

void TestPane::aScriptOpensNoDialog()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QString, answer);
    const DialogWatch watch;
    show(linkPage("href='#' onclick=\"document.title = String(" + script + ")\"") + "<input type=file>");
    click();
    QVERIFY(waitUntil([this] { return title() != u"start"; }));
    QCOMPARE(title(), answer);
    textOf(*m_pane); // the engine has been asked and has answered since
    QCOMPARE(watch.dialogs, QStringList());
}

void TestPane::aPageCannotHoldThePlayerBack()
{
    const DialogWatch watch;
    show(
        linkPage("href='#'", "addEventListener('beforeunload', e => { e.preventDefault(); e.returnValue = 'stay'; })"));
    click();
    m_pane->loadFile(file(u"other.html"_s));
    QVERIFY(waitForText(*m_pane, u"the other page"_s));
    QCOMPARE(watch.dialogs, QStringList());
}

void TestPane::aDownloadIsRefused_data()
{
    QTest::addColumn<QByteArray>("attributes");
    QTest::newRow("by its attribute") << QByteArray("href='data:text/plain,abc' download='abc.txt'");
    QTest::newRow("by its kind") << QByteArray("href='thing.zip'");
}

void TestPane::aDownloadIsRefused()
{
    QFETCH(const QByteArray, attributes);
    m_world->write(file(u"thing.zip"_s), "PK\x03\x04");
    std::optional<QWebEngineDownloadRequest::DownloadState> state; // after the pane has seen it
    connect(m_pane->page()->profile(), &QWebEngineProfile::downloadRequested, m_pane.get(),
            [&state](QWebEngineDownloadRequest *request) { state = request->state(); });
    show(linkPage(attributes));
    click();
    QVERIFY(waitUntil([&state] { return state.has_value(); }));
    QCOMPARE(state, QWebEngineDownloadRequest::DownloadCancelled);
    QCOMPARE(textOf(*m_pane), u"link"_s);
}

void TestPane::everyEncodingIsRead_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QString page = u"<p>Grüße, 旅人</p>"_s;
    QTest::newRow("UTF-8 that does not say so") << page.toUtf8();
    QTest::newRow("UTF-8 with a mark") << "\xef\xbb\xbf" + page.toUtf8();
    QByteArray wide("\xff\xfe", 2);
    for (const QChar unit : page)
        wide.append(char(unit.unicode() & 0xff)).append(char(unit.unicode() >> 8));
    QTest::newRow("UTF-16 with a mark") << wide;
}

void TestPane::everyEncodingIsRead()
{
    QFETCH(const QByteArray, bytes);
    show(bytes);
    QCOMPARE(textOf(*m_pane), u"Grüße, 旅人"_s);
}

void TestPane::theSameFileIsReadAfreshAndAMissingOneEmptiesThePane()
{
    show("<p>old</p>");
    QCOMPARE(textOf(*m_pane), u"old"_s);
    show("<p>new</p>");
    QVERIFY(waitForText(*m_pane, u"new"_s));
    m_pane->loadFile(file(u"gone.html"_s));
    QVERIFY(waitForText(*m_pane, QString()));
}

void TestPane::withoutAPolicyThePaneGoesNowhere()
{
    m_pane->setPolicyDelegate(nullptr);
    m_world->write(file(u"page.html"_s), "<p>page</p>");
    m_pane->loadFile(file(u"page.html"_s));
    QCOMPARE(textOf(*m_pane), QString());
}

void TestPane::allPanesShareOneProfileWithoutATraceOnDisk()
{
    const Pane other;
    const QWebEngineProfile *profile = m_pane->page()->profile();
    QCOMPARE(other.page()->profile(), profile);
    QVERIFY(profile->isOffTheRecord());
    QCOMPARE(profile->persistentCookiesPolicy(), QWebEngineProfile::NoPersistentCookies);
}

QTEST_MAIN(TestPane)
#include "TestPane.moc"
