#include "account/UserLogin.h"

#include "account/AccountPages.h"
#include "places/Preferences.h"
#include "places/SupportFolder.h"
#include "platform/SystemLog.h"
#include "platform/Text.h"
#include "platform/UrlLoader.h"

using namespace Qt::StringLiterals;

namespace
{
// The old page goes also where no new one comes: a stale page must never be shown.
void replacePage(const OptionalPath &path, const std::optional<QString> &text)
{
    (void)FileManager::removeItem(path);
    if (text)
        (void)FileManager::writeAtomically(path, text->toUtf8());
}
} // namespace

UserLogin &UserLogin::loginUser()
{
    static UserLogin shared;
    return shared;
}

bool UserLogin::isRefusal(const QByteArray &answer)
{
    const auto text = Text::fromUtf8(answer);
    return text && text->startsWith(u"Error|"_s);
}

void UserLogin::use(UserDefaults &defaults, UrlLoader &loader, const VendorSite &site)
{
    m_defaults = &defaults;
    m_loader = &loader;
    m_site = site;
}

bool UserLogin::performLogin()
{
    if (Preferences::userName.in(*m_defaults).isEmpty())
        replacePage(SupportFolder::accountPage(), AccountPages::welcome());
    else
        m_userLoginHtmlStr = performLoginOnWeb();
    return true;
}

std::optional<QString> UserLogin::performLoginOnWeb()
{
    SystemLog::write(u"Login started"_s);
    const UrlAnswer answer = m_loader->sendSynchronousRequest(
        FormEncoding::formRequest(m_site.accountCheck(), FormEncoding::accountPairs(*m_defaults)));
    const OptionalPath page = SupportFolder::accountPage();

    if (!answer.body || isRefusal(*answer.body)) {
        const auto text = answer.body ? Text::fromUtf8(*answer.body) : std::nullopt;
        SystemLog::write(Text::filled(u"Login Error: %@", {Text::orNull(text)}));
        m_defaults->setObject(Preferences::loginFailed.key, true);
        replacePage(page, AccountPages::loginFailed());
        return page ? std::optional(toText(*page)) : std::nullopt;
    }
    m_defaults->setObject(Preferences::loginFailed.key, false);
    const auto fragment = Text::fromAscii(*answer.body);
    replacePage(page, fragment);
    return fragment;
}
