#include "app/AppDelegate.h"

#include "account/UserLogin.h"
#include "platform/MainThread.h"
#include "platform/Text.h"
#include "platform/UserDefaults.h"
#include "settings/PreferenceKeys.h"
#include "settings/Utility.h"

using namespace Qt::StringLiterals;

void AppDelegate::reLogin()
{
    {
        const MainThread::Wait wait;
        UserLogin::loginUser().logOut();
        UserLogin::loginUser().performLogin();
    }
    loadAccountPage();
    showLoginOutcome();
}

void AppDelegate::loadAccountPage()
{
    if (const OptionalPath page = pathIn(Utility::WayfarInstallerFolder(), u"/account.html"))
        htmlView()->loadFile(toText(*page));
}

void AppDelegate::showLoginOutcome()
{
    const UserDefaults &defaults = m_surroundings.defaults;
    if (defaults.boolForKey(PreferenceKeys::loginFailed))
        setStatusStr(u"Incorrect Login..."_s);
    else
        setStatusStr(
            Text::filled(u"Logged in as %@...", {Text::orNull(defaults.stringForKey(PreferenceKeys::userName))}));
}
