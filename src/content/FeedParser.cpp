#include "content/FeedParser.h"

#include "content/RSSFeed.h"

#include <libxml/parser.h>

#include <QSet>
#include <QVersionNumber>

#include <memory>

namespace
{
struct Parse {
    RSSFeed &feed;
    xmlParserCtxtPtr context = nullptr;
    QSet<QByteArray> declared = {}; // the names of entities
};

RSSFeed &feedOf(void *parse)
{
    return static_cast<Parse *>(parse)->feed;
}

QString text(const xmlChar *bytes, qsizetype length)
{
    return QString::fromUtf8(reinterpret_cast<const char *>(bytes), length);
}

void startElement(void *parse, const xmlChar *name, const xmlChar **)
{
    feedOf(parse).parserDidStartElement(text(name, -1));
}

void endElement(void *parse, const xmlChar *)
{
    feedOf(parse).parserDidEndElement();
}

void characters(void *parse, const xmlChar *bytes, int length)
{
    feedOf(parse).parserFoundCharacters(text(bytes, length));
}

void entityDeclaration(void *parse, const xmlChar *name, int, const xmlChar *, const xmlChar *, xmlChar *)
{
    static_cast<Parse *>(parse)->declared.insert(reinterpret_cast<const char *>(name));
}

// Asked at every use, and at the declaration itself. An unknown entity is libxml2's to judge.
xmlEntityPtr entity(void *data, const xmlChar *name)
{
    const auto *parse = static_cast<Parse *>(data);
    const bool isUse = parse->context->inSubset == 0;
    if (isUse && parse->declared.contains(reinterpret_cast<const char *>(name)))
        xmlStopParser(parse->context);
    return xmlGetPredefinedEntity(name);
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
    sax.entityDecl = entityDeclaration;
    sax.getEntity = entity;
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
    Parse parse{feed};
    const std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxtPtr)> context(
        xmlCreatePushParserCtxt(&sax, &parse, nullptr, 0, nullptr), destroy);
    if (!context)
        return;
    parse.context = context.get();
    xmlCtxtUseOptions(context.get(), XML_PARSE_NONET); // alone: no entity is replaced, no DTD loaded, no limit lifted
    // In one go: a second chunk would cut a text in two. After an error nothing more is fed, or it would go on
    // reporting.
    if (xmlParseChunk(context.get(), document.constData(), static_cast<int>(document.size()), 0) == XML_ERR_OK)
        xmlParseChunk(context.get(), nullptr, 0, 1);
}

// It tells one number, two digits for each part, and sometimes a word behind it.
QString FeedParser::libraryVersion()
{
    const int number = QByteArray(xmlParserVersion).left(5).toInt();
    return QVersionNumber(number / 10000, number / 100 % 100, number % 100).toString();
}
