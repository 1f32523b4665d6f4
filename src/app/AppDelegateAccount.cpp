#include "app/AppDelegate.h"

#include "account/UserLogin.h"
#include "controls/Pane.h"
#include "controls/Waiting.h"
#include "places/Preferences.h"
#include "places/SupportFolder.h"
#include "platform/Text.h"

using namespace Qt::StringLiterals;

void AppDelegate::reLogin()
{
    Waiting::blockFor([] {
        UserLogin::loginUser().logOut();
        UserLogin::loginUser().performLogin();
    });
    loadAccountPage();
    showLoginOutcome();
}

void AppDelegate::loadAccountPage()
{
    if (const OptionalPath page = SupportFolder::accountPage())
        htmlView()->loadFile(toText(*page));
}

void AppDelegate::showLoginOutcome()
{
    const UserDefaults &defaults = m_surroundings.defaults;
    if (Preferences::loginFailed.in(defaults))
        setFailureStr(u"Incorrect Login..."_s);
    else
        setStatusStr(Text::filled(u"Logged in as %@...", {Text::orNull(Preferences::userName.storedIn(defaults))}));
}
