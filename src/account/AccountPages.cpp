#include "account/AccountPages.h"

#include "platform/Text.h"

using namespace Qt::StringLiterals;

namespace
{
QString page(const QString &heading, const QString &text)
{
    constexpr QStringView frame = uR"(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><title>%@</title><style>
body { margin: 1.25rem; max-width: 32rem; }
h1 { margin: 0 0 .5rem; font-size: 1.35rem; font-weight: 600; }
p { margin: 0 0 .75rem; }
</style></head><body><h1>%@</h1>%@</body></html>
)";
    return Text::filled(frame, {heading, heading, text});
}
} // namespace

QString AccountPages::welcome()
{
    return page(u"Welcome, traveller"_s,
                u"<p>To see your account here and to download the guide pack, tell the installer who you are:</p>"
                "<p>press <strong>Settings</strong>, enter the user name and the password of your Wayfar account, and "
                "press <strong>OK</strong>.</p>"_s);
}

QString AccountPages::loginFailed()
{
    return page(u"The login did not work"_s,
                u"<p>Your account could not be checked. Press <strong>Settings</strong>, look at the user name and the "
                "password, and press <strong>OK</strong> to try again.</p>"
                "<p>If both are right, the vendor's service may be out of reach at the moment.</p>"_s);
}
