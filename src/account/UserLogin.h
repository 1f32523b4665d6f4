#pragma once

#include "pack/FormEncoding.h"
#include "places/VendorSite.h"

#include <QString>

#include <optional>

class UrlLoader;
class UserDefaults;

// Checks the stored account with the vendor's service. Its lasting results are the account page ("account.html" in the
// support folder) and the preference "loginFailed".
class UserLogin
{
public:
    // The shared instance. The first call makes it, before the start-up worker exists.
    static UserLogin &loginUser();

    // What it works with, borrowed; before the first login.
    void use(UserDefaults &defaults, UrlLoader &loader, const VendorSite &site);

    // Whether the service's answer refuses the account. One that is no UTF-8 has no text, and so refuses nothing.
    static bool isRefusal(const QByteArray &answer);

    void logOut() { } // a login leaves nothing to end
    QByteArray encodeDictionary(const FormPairs &pairs) const { return FormEncoding::encodeDictionary(pairs); }

    // The page on success, nothing where the answer is no ASCII text; the page file's path on failure. Blocks.
    std::optional<QString> performLoginOnWeb();
    // Always true. Without a user name no request is made, "loginFailed" stays, and the page is a word of welcome.
    bool performLogin();

    std::optional<QString> userLoginHtmlStr() const { return m_userLoginHtmlStr; }

private:
    UserDefaults *m_defaults = nullptr;
    UrlLoader *m_loader = nullptr;
    VendorSite m_site;
    std::optional<QString> m_userLoginHtmlStr;
};
