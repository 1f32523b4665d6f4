#pragma once

#include <QByteArray>

class RSSFeed;

namespace FeedParser
{
// Reports the document's events to the feed, up to its end or its first error. Nothing outside the document is read.
// A declared entity counts as unknown, so that its first use is an error.
void parse(const QByteArray &document, RSSFeed &feed);
} // namespace FeedParser
