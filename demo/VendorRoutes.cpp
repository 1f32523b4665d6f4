#include "demo/VendorRoutes.h"

#include "demo/VendorRequestLog.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr auto HtmlType = "text/html; charset=utf-8";

VendorAnswer plainAnswer(int status, const QByteArray &contentType, const QByteArray &body)
{
    VendorAnswer answer;
    answer.status = status;
    answer.contentType = contentType;
    answer.body = body;
    return answer;
}

VendorAnswer htmlAnswer(int status, const QByteArray &title)
{
    return plainAnswer(status, HtmlType,
                       "<!DOCTYPE html>\n<html><head><title>" + title + "</title></head><body><h1>" + title
                           + "</h1></body></html>\n");
}

VendorAnswer refusedAccount()
{
    return plainAnswer(200, HtmlType, "Error|The user name or the password is not correct.");
}

QString formText(QByteArray encoded)
{
    return QString::fromUtf8(QByteArray::fromPercentEncoding(encoded.replace('+', ' ')));
}

QHash<QString, QString> formFields(const QByteArray &form)
{
    QHash<QString, QString> fields;
    for (const QByteArray &field : form.split('&')) {
        const qsizetype equals = field.indexOf('=');
        if (equals > 0) {
            fields.insert(formText(field.left(equals)), formText(field.mid(equals + 1)));
        }
    }
    return fields;
}

} // namespace

VendorRoutes::VendorRoutes()
{
    setPage("/api/changelog", "text/plain; charset=utf-8", {});
    setPage("/feed", "application/rss+xml; charset=utf-8",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rss version=\"2.0\"><channel/></rss>\n");
    m_pages.insert("/installer/redirect.php", htmlAnswer(200, "Wayfar"));
}

void VendorRoutes::setPage(const QByteArray &path, const QByteArray &contentType, const QByteArray &body)
{
    const std::lock_guard lock(m_mutex);
    m_pages.insert(path, plainAnswer(200, contentType, body));
}

void VendorRoutes::setPack(const QByteArray &zip)
{
    const std::lock_guard lock(m_mutex);
    m_pack = zip;
}

void VendorRoutes::addAccount(const QString &user, const QString &password, const QByteArray &page)
{
    const std::lock_guard lock(m_mutex);
    m_accounts.insert(user, {password, page});
}

void VendorRoutes::setAnswer(const QByteArray &path, const VendorAnswer &answer)
{
    const std::lock_guard lock(m_mutex);
    m_standing.insert(path, answer);
}

void VendorRoutes::queueAnswer(const QByteArray &path, const VendorAnswer &answer)
{
    const std::lock_guard lock(m_mutex);
    m_queued[path].append(answer);
}

void VendorRoutes::clearAnswers()
{
    const std::lock_guard lock(m_mutex);
    m_standing.clear();
    m_queued.clear();
}

VendorAnswer VendorRoutes::answerTo(const VendorRequest &request)
{
    const std::lock_guard lock(m_mutex);
    const QByteArray path = withoutQuery(request.path);
    if (const auto answer = ordered(path)) {
        return *answer;
    }
    const bool isAccountRoute = path == "/api/dlCheckUser" || path == "/api/dlGuide";
    const auto page = m_pages.constFind(path);
    if (!isAccountRoute && page == m_pages.constEnd()) {
        return htmlAnswer(404, "Not Found");
    }
    if (request.method != (isAccountRoute ? "POST" : "GET")) {
        return htmlAnswer(405, "Method Not Allowed");
    }
    if (!isAccountRoute) {
        return *page;
    }
    return path == "/api/dlGuide" ? guide(request) : checkUser(request);
}

std::optional<VendorAnswer> VendorRoutes::ordered(const QByteArray &path)
{
    const auto queue = m_queued.find(path);
    if (queue != m_queued.end() && !queue->isEmpty()) {
        return queue->takeFirst();
    }
    const auto standing = m_standing.constFind(path);
    return standing == m_standing.constEnd() ? std::nullopt : std::optional(*standing);
}

VendorAnswer VendorRoutes::checkUser(const VendorRequest &request) const
{
    const Account *const known = account(request);
    return known ? plainAnswer(200, HtmlType, known->page) : refusedAccount();
}

VendorAnswer VendorRoutes::guide(const VendorRequest &request) const
{
    return account(request) ? plainAnswer(200, "application/zip", m_pack) : refusedAccount();
}

const VendorRoutes::Account *VendorRoutes::account(const VendorRequest &request) const
{
    const QHash<QString, QString> fields = formFields(request.body);
    const auto found = m_accounts.constFind(fields.value(u"user"_s));
    const bool isRight = found != m_accounts.constEnd() && found->password == fields.value(u"pass"_s);
    return isRight ? &*found : nullptr;
}
