#pragma once

#include "places/VendorSite.h"

#include <QByteArray>
#include <QString>

#include <optional>

class UrlLoader;

// Turns the vendor's feed into the news page, "rssfeed.html" in the support folder: one linked headline with a date for
// every end of a title that finds an earlier link and date. One object a page.
class RSSFeed
{
public:
    RSSFeed(UrlLoader &loader, const VendorSite &site);

    // Fetches, parses and writes. Blocks; any thread. Where the feed is missing or breaks off, the page has the lines
    // up to there.
    void parseRSSWithURL();

    // The whole page of a document, from its head to its tail.
    QString pageOf(const QByteArray &document);

    // What the parser reports, names with their prefixes and every piece of text by itself. Text in CDATA sections is
    // never reported.
    void parserDidStartElement(const QString &name);
    void parserFoundCharacters(const QString &text);
    void parserDidEndElement();

    // Nothing until something was reported or accepted.
    std::optional<QString> currentElement() const { return m_currentElement; } // the most recently started one
    std::optional<QString> currentTitle() const { return m_currentTitle; }
    std::optional<QString> currentURL() const { return m_currentURL; }
    std::optional<QString> currentPubDate() const { return m_currentPubDate; }
    QString htmlString() const { return m_htmlString; } // the page as far as it got

private:
    void appendLine();

    UrlLoader &m_loader;
    const VendorSite m_site;
    std::optional<QString> m_currentElement;
    std::optional<QString> m_currentTitle;
    std::optional<QString> m_currentURL;
    std::optional<QString> m_currentPubDate;
    QString m_htmlString;
};
