#pragma once

#include <QByteArray>

class RSSFeed;

namespace FeedParser
{
// Reports the document's events to the feed, up to its end or its first error. Nothing outside the document is read,
// and one that declares entities ends there, since a few of them can make gigabytes.
void parse(const QByteArray &document, RSSFeed &feed);
} // namespace FeedParser
