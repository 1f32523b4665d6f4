#pragma once

#include <QByteArray>
#include <QString>

class RSSFeed;

namespace FeedParser
{
// Reports the document's events to the feed, up to its end or its first error. Nothing outside the document is read.
// The first use of an entity that it declares is an error.
void parse(const QByteArray &document, RSSFeed &feed);
QString libraryVersion(); // libxml2's, as it runs
} // namespace FeedParser
