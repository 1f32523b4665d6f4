#pragma once

#include <QString>

#include <optional>

class UrlLoader;
struct VendorSite;

namespace ChangeLogText
{
// The vendor's change log; nothing after a transport error, and where the answer is no ASCII text. Blocks; any thread.
std::optional<QString> fetch(UrlLoader &loader, const VendorSite &site);
} // namespace ChangeLogText
