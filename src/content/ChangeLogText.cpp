#include "content/ChangeLogText.h"

#include "places/VendorSite.h"
#include "platform/Text.h"
#include "platform/UrlLoader.h"

std::optional<QString> ChangeLogText::fetch(UrlLoader &loader, const VendorSite &site)
{
    const UrlAnswer answer = loader.sendSynchronousRequest({.url = site.changeLog()});
    return answer.body ? Text::fromAscii(*answer.body) : std::nullopt;
}
