#pragma once

#include "check/Verdict.h"
#include "pack/FormEncoding.h"
#include "places/VendorSite.h"
#include "platform/FileManager.h"
#include "platform/UrlInspector.h"

#include <QSet>
#include <QTemporaryDir>

#include <functional>

// Asks the vendor's hosts for everything that players' programs ask for, as those ask, and judges each answer. Blocks.
class VendorCheck
{
public:
    using Report = std::function<void(const QString &asked, const Verdict &verdict)>; // called as it goes

    // Without an account the forms go out empty, and their answers are judged as such.
    VendorCheck(const VendorSite &site, const UrlLoaderSettings &network, const FormPairs &account,
                const Report &report);

    bool run(); // true when nothing is wrong

private:
    struct Route {
        UrlRequest request;
        QString unanswered; // what players get without an answer
        QString takenAs; // what any answer counts as
    };
    using Judge = std::function<Verdict(const QByteArray &)>;

    void askAsAStartDoes();
    void reportStart();
    void askForAccount();
    void askForPack();
    void askForInstaller();
    void askForBannerTarget();

    QByteArray ask(const Route &route, const Judge &judge); // the body
    // False without an answer. The judgement of the archive itself is the caller's.
    bool download(const Route &route, const FilePath &archive, Verdict &verdict);
    UrlInspection exchange(const Route &route, const UrlInspector::Take &take, Verdict &verdict);
    Verdict judgeCertificate(const UrlRequest &request, const QDateTime &end);
    void conclude(const UrlRequest &request, const Verdict &verdict);

    const VendorSite m_site;
    const FormPairs m_account;
    const Report m_report;
    UrlInspector m_inspector;
    const QTemporaryDir m_folder; // for the archives
    QSet<QString> m_hosts; // whose certificates were seen
    QString m_installerVersion;
    QString m_packVersion;
    QByteArray m_accountPage;
    int m_requests = 0;
    int m_connections = 0;
    qint64 m_bytes = 0;
    bool m_isRight = true;
};
