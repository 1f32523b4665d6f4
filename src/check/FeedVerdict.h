#pragma once

#include "check/Verdict.h"

#include <QByteArray>

namespace FeedVerdict
{
// On a feed: compares what it says with what the program's own page of it shows.
Verdict of(const QByteArray &document);
} // namespace FeedVerdict
