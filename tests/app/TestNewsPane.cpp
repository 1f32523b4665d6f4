#include "support/Answers.h"
#include "support/PageScript.h"
#include "support/Program.h"

using namespace Qt::StringLiterals;

namespace
{
QByteArray item(const QByteArray &title, const QByteArray &link, const QByteArray &date)
{
    return "<item><title>" + title + "</title><link>" + link + "</link><pubDate>" + date + "</pubDate></item>";
}

QByteArray feedOf(const QByteArray &items)
{
    return "<rss version=\"2.0\"><channel><title>News</title><link>https://www.wayfar.example/</link>" + items
        + "</channel></rss>";
}

const QByteArray threePosts = feedOf(item("P1", "https://www.wayfar.example/1", "Mon, 03 Jun 2024")
                                     + item("Caf\u00e9 \u2013 \U0001F5FB", "http://a.example/2", "Tue, 04 Jun 2024")
                                     + item("P3", "https://www.wayfar.example/3", "Wed, 05 Jun 2024"));
const QString threePostsText = u"Caf\u00e9 \u2013 \U0001F5FB Mon, 03 Jun 2024 P3 Tue, 04 Jun 2024"_s;
const QUrl firstLink(u"https://www.wayfar.example/1"_s);
const QUrl secondLink(u"http://a.example/2"_s);
} // namespace

// The vendor's feed in the news pane of the running program.
class TestNewsPane : public ProgramTest
{
    Q_OBJECT

private Q_SLOTS:
    void init() { begin(); }
    void cleanup() { end(); }

    void thePaneShowsThePageOfTheFeed();
    void oneClickOpensAHeadlineOnce_data();
    void oneClickOpensAHeadlineOnce();
    void theKeyboardOpensAHeadlineOnce();
    void aTitlesMarkupIsLive();
    void aScriptInATitleOpensNothingByItself();
    void aFeedThatCannotBeFetchedLeavesThePaneEmpty_data();
    void aFeedThatCannotBeFetchedLeavesThePaneEmpty();

private:
    Pane &pane() { return *delegate().rssView(); }
    bool showFeed(const QByteArray &feed, const QString &text);
    QPoint middleOfLink(int index);
};

// Until the page is painted, since a click before that hits nothing.
bool TestNewsPane::showFeed(const QByteArray &feed, const QString &text)
{
    m_world->vendor().setFeed(feed);
    if (!m_program->start() || !waitForText(pane(), text))
        return false;
    answerOf(pane(), u"requestAnimationFrame(() => requestAnimationFrame(() => { window.painted = true; })); 1"_s);
    return waitUntil([this] { return answerOf(pane(), u"window.painted === true"_s).toBool(); });
}

QPoint TestNewsPane::middleOfLink(int index)
{
    const QString script = u"(() => { const r = document.links[%1].getBoundingClientRect();"
                           " return [r.left + r.width / 2, r.top + r.height / 2]; })()"_s;
    const QVariantList place = answerOf(pane(), script.arg(index)).toList();
    return place.size() == 2 ? QPoint(place[0].toInt(), place[1].toInt()) : QPoint(-1, -1);
}

void TestNewsPane::thePaneShowsThePageOfTheFeed()
{
    QVERIFY(showFeed(threePosts, threePostsText));
    QCOMPARE(pane().url(), QUrl::fromLocalFile(m_world->supportFolder() + u"/rssfeed.html"_s));
    QCOMPARE(answerOf(pane(), u"Array.from(document.links, link => link.href)"_s).toStringList(),
             (QStringList{firstLink.toString(), secondLink.toString()}));
    QVERIFY(m_program->workspace.urls.isEmpty());
    QCOMPARE(m_world->vendor().requests("/feed").size(), 1);
}

void TestNewsPane::oneClickOpensAHeadlineOnce_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::newRow("a plain click") << Qt::LeftButton << Qt::KeyboardModifiers();
    QTest::newRow("a click with Ctrl") << Qt::LeftButton << Qt::KeyboardModifiers(Qt::ControlModifier);
    QTest::newRow("a click with Shift") << Qt::LeftButton << Qt::KeyboardModifiers(Qt::ShiftModifier);
    QTest::newRow("the middle button") << Qt::MiddleButton << Qt::KeyboardModifiers();
}

void TestNewsPane::oneClickOpensAHeadlineOnce()
{
    QFETCH(const Qt::MouseButton, button);
    QFETCH(const Qt::KeyboardModifiers, modifiers);
    QVERIFY(showFeed(threePosts, threePostsText));
    const QUrl page = pane().url();
    QList<QUrl> expected;
    for (const int index : {0, 1, 0}) { // a second opening of the first would show among the later ones
        QTest::mouseClick(pane().focusProxy(), button, modifiers, middleOfLink(index));
        expected.append(index == 0 ? firstLink : secondLink);
        QVERIFY(waitUntil([&] { return m_program->workspace.urls.size() >= expected.size(); }));
        QCOMPARE(m_program->workspace.urls, expected);
    }
    QCOMPARE(textOf(pane()), threePostsText);
    QCOMPARE(pane().url(), page);
    QCOMPARE(m_program->workspace.urls, expected);
}

void TestNewsPane::theKeyboardOpensAHeadlineOnce()
{
    QVERIFY(showFeed(threePosts, threePostsText));
    answerOf(pane(), u"document.links[1].focus(); 1"_s);
    pane().setFocus();
    QTest::keyClick(pane().focusProxy(), Qt::Key_Return);
    QVERIFY(waitUntil([&] { return !m_program->workspace.urls.isEmpty(); }));
    QCOMPARE(textOf(pane()), threePostsText);
    QCOMPARE(m_program->workspace.urls, QList<QUrl>{secondLink});
}

void TestNewsPane::aTitlesMarkupIsLive()
{
    const QByteArray posts = item("P1", "https://www.wayfar.example/1", "Mon, 03 Jun 2024")
        + item("&lt;b&gt;Salt&lt;/b&gt; &amp; cedar", "https://www.wayfar.example/2", "Tue, 04 Jun 2024");
    QVERIFY(showFeed(feedOf(posts), u"Salt & cedar Mon, 03 Jun 2024"_s));
    QCOMPARE(answerOf(pane(), u"document.querySelector('a > b').innerText"_s).toString(), u"Salt"_s);
}

void TestNewsPane::aScriptInATitleOpensNothingByItself()
{
    const QByteArray script = "&lt;script&gt;window.open('https://evil.example/');&lt;/script&gt;";
    const QByteArray posts = item("P1", "https://www.wayfar.example/1", "Mon, 03 Jun 2024")
        + item("Salt" + script, "https://www.wayfar.example/2", "Tue, 04 Jun 2024");
    QVERIFY(showFeed(feedOf(posts), u"Salt Mon, 03 Jun 2024"_s));
    QCOMPARE(m_program->workspace.urls, QList<QUrl>());
}

void TestNewsPane::aFeedThatCannotBeFetchedLeavesThePaneEmpty_data()
{
    QTest::addColumn<VendorAnswer>("answer");
    QTest::newRow("a transport error") << brokenOff();
    QTest::newRow("an error page") << answerWith("<!DOCTYPE html><html><body><h1>Sorry</h1><br></body></html>", 503);
}

void TestNewsPane::aFeedThatCannotBeFetchedLeavesThePaneEmpty()
{
    QFETCH(const VendorAnswer, answer);
    m_world->vendor().setAnswer("/feed", answer);
    m_world->write(m_world->supportFolder() + u"/rssfeed.html"_s, "<p>The news of another day</p>");
    QVERIFY(m_program->start());
    QVERIFY(waitUntil([this] {
        return answerOf(pane(), u"location.protocol + document.readyState"_s).toString() == u"file:complete"_s;
    }));
    QCOMPARE(textOf(pane()), QString());
    QCOMPARE(answerOf(pane(), u"document.body.childElementCount"_s).toInt(), 0);
    QVERIFY(delegate().window()->isVisible());
    QVERIFY(m_program->alert.shown.isEmpty());
}

QTEST_MAIN(TestNewsPane)
#include "TestNewsPane.moc"
