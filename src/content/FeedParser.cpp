#include "content/FeedParser.h"

#include "content/RSSFeed.h"

#include <libxml/parser.h>

#include <memory>

namespace
{
RSSFeed &feedOf(void *feed)
{
    return *static_cast<RSSFeed *>(feed);
}

QString text(const xmlChar *bytes, qsizetype length)
{
    return QString::fromUtf8(reinterpret_cast<const char *>(bytes), length);
}

void startElement(void *feed, const xmlChar *name, const xmlChar **)
{
    feedOf(feed).parserDidStartElement(text(name, -1));
}

void endElement(void *feed, const xmlChar *)
{
    feedOf(feed).parserDidEndElement();
}

void characters(void *feed, const xmlChar *bytes, int length)
{
    feedOf(feed).parserFoundCharacters(text(bytes, length));
}

void ignoreBlock(void *, const xmlChar *, int) { }

void ignoreMessage(void *, const char *, ...) { }

// The first version of the interface: names come with their prefixes, declared or not. Without a callback for entities
// a declaration changes nothing and a use of one ends the document: a few of them could make gigabytes.
xmlSAXHandler handler()
{
    xmlSAXHandler sax = {};
    sax.startElement = startElement;
    sax.endElement = endElement;
    sax.characters = characters;
    sax.ignorableWhitespace = characters;
    sax.cdataBlock = ignoreBlock; // without one, CDATA would come as characters
    sax.warning = ignoreMessage;
    sax.error = ignoreMessage;
    sax.fatalError = ignoreMessage;
    return sax;
}

void destroy(xmlParserCtxtPtr context)
{
    xmlFreeDoc(context->myDoc);
    xmlFreeParserCtxt(context);
}
} // namespace

void FeedParser::parse(const QByteArray &document, RSSFeed &feed)
{
    if (document.isEmpty())
        return;
    xmlInitParser();
    xmlSAXHandler sax = handler();
    const std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxtPtr)> context(
        xmlCreatePushParserCtxt(&sax, &feed, nullptr, 0, nullptr), destroy);
    if (!context)
        return;
    xmlCtxtUseOptions(context.get(), XML_PARSE_NONET); // alone: no entity is replaced, no DTD loaded, no limit lifted
    // In one go: a second chunk would cut a text in two. After an error nothing more is fed, or it would go on
    // reporting.
    if (xmlParseChunk(context.get(), document.constData(), static_cast<int>(document.size()), 0) == XML_ERR_OK)
        xmlParseChunk(context.get(), nullptr, 0, 1);
}
