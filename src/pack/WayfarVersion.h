#pragma once

#include "places/VendorSite.h"

#include <QString>

#include <optional>

class UrlLoader;
class UserDefaults;

// The version text of a table of contents: what follows "## Version:" on the first line that has it in any letter case,
// without blanks and carriage returns. Nothing without such a line.
std::optional<QString> versionInToc(QStringView toc);

// The published version: the vendor's whole answer without pairs of carriage return and line feed. Nothing where it is
// no ASCII text.
std::optional<QString> versionInAnswer(QByteArrayView body);

// The guide pack's two versions, opaque texts. A new object for every refresh.
class WayfarVersion
{
public:
    WayfarVersion(UserDefaults &defaults, UrlLoader &loader, const VendorSite &site);

    // The installed one; "none" without a readable table of contents or a version line in it.
    QString localVersion() const;
    // The published one; nothing when it could not be had. Blocks.
    std::optional<QString> updateVersion() const;

private:
    UserDefaults &m_defaults;
    UrlLoader &m_loader;
    const VendorSite m_site;
};
