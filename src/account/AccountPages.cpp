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
ol { margin: 0 0 1rem; padding-left: 1.4rem; }
li { margin: 0 0 .5rem; padding-left: .3rem; }
li::marker, b { font-weight: 600; }
</style></head><body><h1>%@</h1>%@</body></html>
)";
    return Text::filled(frame, {heading, heading, text});
}
} // namespace

QString AccountPages::welcome()
{
    return page(
        u"Welcome, traveller"_s,
        u"<p>Press <strong>Settings</strong> for three steps:</p>"
        "<ol><li><b>Your account</b><br>Your user name and password with Wayfar.</li>"
        "<li><b>The game folder</b><br>The one that holds <code>_retail_</code>: the guide pack goes there.</li>"
        "<li><b>The launcher</b><br>What starts your game: <strong>Play</strong> opens it.</li></ol>"
        "<p>Then press <strong>OK</strong>, and <strong>Update</strong>.</p>"_s);
}

QString AccountPages::loginFailed()
{
    return page(u"The login did not work"_s,
                u"<p>Your account could not be checked. Press <strong>Settings</strong>, look at the user name and the "
                "password, and press <strong>OK</strong> to try again.</p>"
                "<p>If both are right, the vendor's service may be out of reach at the moment.</p>"_s);
}
