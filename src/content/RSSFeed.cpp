#include "content/RSSFeed.h"

#include "content/FeedParser.h"
#include "places/SupportFolder.h"
#include "platform/Text.h"
#include "platform/UrlLoader.h"

#include <QStringEncoder>

using namespace Qt::StringLiterals;

namespace
{
const QString head = u"<html><head><style>*{margin : 0.5px;padding :0.5px;}</style></head><body>"_s;
// The three blanks, and the tail without its slash, are how the page has always been (docs/kept-on-purpose.md).
constexpr QStringView line =
    u"<font size=\"3\"><a   href=\"%@\" onclick=\"return !window.open( this.href );\">%@</a></font>"
    "<br><font size=\"2\">%@</font><br>";
const QString tail = u"</body><html>"_s;

// Little-endian, with its byte-order mark first.
QByteArray utf16(const QString &text)
{
    QStringEncoder encode(QStringEncoder::Utf16LE, QStringConverter::Flag::WriteBom);
    return encode(text);
}
} // namespace

RSSFeed::RSSFeed(UrlLoader &loader, const VendorSite &site) : m_loader(loader), m_site(site) { }

void RSSFeed::parseRSSWithURL()
{
    const UrlAnswer answer = m_loader.sendSynchronousRequest({.url = m_site.feed()});
    const QString page = pageOf(answer.body.value_or(QByteArray()));
    const OptionalPath file = SupportFolder::newsPage();
    (void)FileManager::removeItem(file);
    (void)FileManager::writeAtomically(file, utf16(page));
}

QString RSSFeed::pageOf(const QByteArray &document)
{
    m_htmlString = head;
    FeedParser::parse(document, *this);
    return m_htmlString + tail;
}

void RSSFeed::parserDidStartElement(const QString &name)
{
    m_currentElement = name;
}

void RSSFeed::parserFoundCharacters(const QString &text)
{
    if (m_currentElement == u"title"_s)
        m_currentTitle = m_currentTitle.value_or(QString()) + text;
    else if (m_currentElement == u"link"_s && text.startsWith(u"http"_s))
        m_currentURL = text;
    else if (m_currentElement == u"pubDate"_s && text.size() > 5)
        m_currentPubDate = text;
}

// Whichever element ends: the test is on the one that started last. A title therefore gets the link and the date of the
// post before it (docs/kept-on-purpose.md).
void RSSFeed::parserDidEndElement()
{
    if (m_currentElement != u"title"_s)
        return;
    if (m_currentURL && m_currentPubDate) {
        appendLine();
        m_currentElement.reset();
        m_currentPubDate.reset();
        m_currentURL.reset();
    }
    m_currentTitle.reset();
}

void RSSFeed::appendLine()
{
    m_htmlString += Text::filled(line, {*m_currentURL, Text::orNull(m_currentTitle), *m_currentPubDate});
}
