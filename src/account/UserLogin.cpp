#include "account/UserLogin.h"

#include "account/AccountPages.h"
#include "platform/FileManager.h"
#include "platform/SystemLog.h"
#include "platform/Text.h"
#include "platform/UrlLoader.h"
#include "platform/UserDefaults.h"
#include "settings/PreferenceKeys.h"
#include "settings/Utility.h"

using namespace Qt::StringLiterals;

namespace
{
OptionalPath accountPage()
{
    return pathIn(Utility::WayfarInstallerFolder(), u"/account.html");
}

// A page from an earlier login is never shown again, also where there is no new one.
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

void UserLogin::use(UserDefaults &defaults, UrlLoader &loader, const VendorHosts &hosts)
{
    m_defaults = &defaults;
    m_loader = &loader;
    m_hosts = hosts;
}

bool UserLogin::performLogin()
{
    if (m_defaults->stringForKey(PreferenceKeys::userName).value_or(QString()).isEmpty())
        replacePage(accountPage(), AccountPages::welcome());
    else
        m_userLoginHtmlStr = performLoginOnWeb();
    return true;
}

std::optional<QString> UserLogin::performLoginOnWeb()
{
    SystemLog::write(u"Login started"_s);
    const QString url = u"https://"_s + m_hosts.site + u"/api/dlCheckUser"_s;
    const UrlAnswer answer =
        m_loader->sendSynchronousRequest(FormEncoding::formRequest(url, FormEncoding::accountPairs(*m_defaults)));
    const auto text = answer.body ? Text::fromUtf8(*answer.body) : std::nullopt;
    const OptionalPath page = accountPage();

    // A body that is no UTF-8 has no text that could begin with anything: it is a page, agreed.
    if (!answer.body || (text && text->startsWith(u"Error|"_s))) {
        SystemLog::write(Text::filled(u"Login Error: %@", {Text::orNull(text)}));
        m_defaults->setObject(PreferenceKeys::loginFailed, true);
        replacePage(page, AccountPages::loginFailed());
        return page ? std::optional(toText(*page)) : std::nullopt;
    }
    m_defaults->setObject(PreferenceKeys::loginFailed, false);
    const auto fragment = Text::fromAscii(*answer.body);
    replacePage(page, fragment);
    return fragment;
}
