#pragma once

#include "content/RSSFeed.h"
#include "platform/UrlLoader.h"
#include "places/VendorSite.h"

#include <QString>

// The news page as it has always been, spelled out once more, character for character.
namespace FeedPages
{
inline QString line(const QString &link, const QString &title, const QString &date)
{
    return QStringLiteral("<font size=\"3\"><a   href=\"") + link
        + QStringLiteral("\" onclick=\"return !window.open( this.href );\">") + title
        + QStringLiteral("</a></font><br><font size=\"2\">") + date + QStringLiteral("</font><br>");
}

inline QString page(const QString &lines = {})
{
    return QStringLiteral("<html><head><style>*{margin : 0.5px;padding :0.5px;}</style></head><body>") + lines
        + QStringLiteral("</body><html>");
}

// What a fresh feed makes of the document, without a network.
inline QString made(const QByteArray &document)
{
    UrlLoader loader;
    return RSSFeed(loader, VendorSite()).pageOf(document);
}
} // namespace FeedPages
