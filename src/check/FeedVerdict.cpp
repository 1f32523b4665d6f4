#include "check/FeedVerdict.h"

#include "content/RSSFeed.h"
#include "platform/UrlLoader.h"

#include <QRegularExpression>
#include <QXmlStreamReader>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
// One headline.
struct Post {
    QString title;
    QString link;
    QString date;
    bool titleIsLast = false; // after link and date
    bool hasCdata = false;

    bool shows(const Post &other) const
    {
        return title.trimmed() == other.title.trimmed() && link == other.link && date == other.date;
    }
};

struct Feed {
    QList<Post> posts;
    QString error; // why it breaks off; empty where it does not
};

void readText(QXmlStreamReader &xml, QString &text, Post &post)
{
    while (!xml.atEnd() && xml.readNext() != QXmlStreamReader::EndElement) {
        post.hasCdata = post.hasCdata || xml.isCDATA();
        text += xml.text();
    }
}

Post readPost(QXmlStreamReader &xml)
{
    Post post;
    while (xml.readNextStartElement()) {
        if (xml.qualifiedName() == u"title") {
            post.titleIsLast = !post.link.isEmpty() && !post.date.isEmpty();
            readText(xml, post.title, post);
        } else if (xml.qualifiedName() == u"link") {
            readText(xml, post.link, post);
        } else if (xml.qualifiedName() == u"pubDate") {
            readText(xml, post.date, post);
        } else {
            xml.skipCurrentElement();
        }
    }
    return post;
}

// As its author means it.
Feed read(const QByteArray &document)
{
    Feed feed;
    QXmlStreamReader xml(document);
    xml.setNamespaceProcessing(false); // the program takes an undeclared prefix too
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.qualifiedName() == u"item")
            feed.posts.append(readPost(xml));
    }
    if (xml.hasError())
        feed.error = u"line %1: %2"_s.arg(xml.lineNumber()).arg(xml.errorString());
    return feed;
}

QList<Post> shownBy(const QString &page)
{
    static const QRegularExpression line(
        u"href=\"(.*?)\" onclick=.*?>(.*?)</a></font><br><font size=\"2\">(.*?)</font>"_s,
        QRegularExpression::DotMatchesEverythingOption);
    QList<Post> posts;
    for (const QRegularExpressionMatch &match : line.globalMatch(page))
        posts.append({.title = match.captured(2), .link = match.captured(1), .date = match.captured(3)});
    return posts;
}

bool anyOf(const QList<Post> &posts, bool (*isSo)(const Post &))
{
    return std::ranges::any_of(posts, isSo);
}

QStringList reasons(const Feed &feed, const QList<Post> &shown)
{
    QStringList found;
    if (!feed.error.isEmpty())
        found += u"It is not well-formed, and the news end there (%1)."_s.arg(feed.error);
    if (anyOf(feed.posts, [](const Post &post) { return post.hasCdata; }))
        found +=
            u"CDATA is never seen: a title in it reads \"(null)\" or loses its words, a link or date in it is none. "
            "Escape the characters instead."_s;
    else if (anyOf(feed.posts, [](const Post &post) { return !post.titleIsLast; }))
        found +=
            u"A title comes before its link or its date: it is shown with those of the post before it, and the first "
            "title not at all. Put link and pubDate before title."_s;
    if (anyOf(feed.posts, [](const Post &post) { return post.link.contains(u'&'); }))
        found += u"A link has an entity in it (&amp;): the address is cut there. Publish links without \"&\"."_s;
    if (anyOf(feed.posts, [](const Post &post) { return post.title.contains(u'<'); }))
        found += u"A title has a \"<\" in it: it is shown as markup."_s;
    if (anyOf(feed.posts, [](const Post &post) { return !post.link.startsWith(u"http"); }))
        found += u"A link does not begin with \"http\", and is passed over."_s;
    if (anyOf(shown, [](const Post &post) { return post.date.trimmed().isEmpty(); }))
        found +=
            u"More than five characters of white space follow a date, and are shown in its place. Indent by four at "
            "most."_s;
    return found;
}
} // namespace

Verdict FeedVerdict::of(const QByteArray &document)
{
    UrlLoader unused;
    const Feed feed = read(document);
    const QList<Post> shown = shownBy(RSSFeed(unused, {}).pageOf(document));
    Verdict verdict{.wrong = reasons(feed, shown)};
    const bool isAsMeant =
        std::ranges::equal(shown, feed.posts, [](const Post &is, const Post &meant) { return is.shows(meant); });
    if (feed.posts.isEmpty() && feed.error.isEmpty())
        verdict.wrong += u"There is no item in it: the news pane stays empty."_s;
    if (!isAsMeant && verdict.isRight())
        verdict.wrong +=
            u"The news pane shows %1 of its %2 posts, or shows them otherwise than they are meant."_s.arg(shown.size())
                .arg(feed.posts.size());
    if (verdict.isRight())
        verdict.right += u"The news pane shows %1 headlines, the first: %2"_s.arg(shown.size())
                             .arg(shown.constFirst().title.trimmed());
    return verdict;
}
