#pragma once

#include "demo/VendorServer.h"

#include <QHash>
#include <QMap>

#include <mutex>

// What the stand-in answers: the vendor's pages, and the answers ordered in their place. Usable from any thread.
class VendorRoutes
{
public:
    VendorRoutes();

    void setPage(const QByteArray &path, const QByteArray &contentType, const QByteArray &body); // for GET
    void setPack(const QByteArray &zip);
    void addAccount(const QString &user, const QString &password, const QByteArray &page);

    void setAnswer(const QByteArray &path, const VendorAnswer &answer);
    void queueAnswer(const QByteArray &path, const VendorAnswer &answer);
    void clearAnswers();

    VendorAnswer answerTo(const VendorRequest &request);

private:
    struct Account {
        QString password;
        QByteArray page;
    };

    std::optional<VendorAnswer> ordered(const QByteArray &path);
    VendorAnswer checkUser(const VendorRequest &request) const;
    VendorAnswer guide(const VendorRequest &request) const;
    const Account *account(const VendorRequest &request) const;

    mutable std::mutex m_mutex;
    QHash<QByteArray, VendorAnswer> m_pages;
    QMap<QString, Account> m_accounts;
    QByteArray m_pack;
    QHash<QByteArray, VendorAnswer> m_standing;
    QHash<QByteArray, QList<VendorAnswer>> m_queued;
};
