#pragma once

#include <QSslConfiguration>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

// A certificate authority and a server certificate under it, made with the openssl command into a folder that goes with
// the object. Whatever fails ends the process with its reason: there is nothing to test without them.
class TestCertificates
{
public:
    struct Wishes {
        QStringList names; // 127.0.0.1 is always added
        bool expired = false;
        int days = 30; // that it is still good for
        bool trusted = true;
    };

    explicit TestCertificates(const Wishes &wishes);

    QString caFile() const { return m_caFile; }
    QString serverFile() const { return path(QStringLiteral("server.pem")); }
    QString serverKeyFile() const { return path(QStringLiteral("server.key")); }
    QSslConfiguration serverConfiguration() const;

private:
    QString path(const QString &name) const { return m_folder.filePath(name); }
    void writeSettings(const QStringList &names) const;
    QString makeAuthority(const QString &name) const;
    void makeServerCertificate(const QString &authority, int days) const;
    void openssl(const QStringList &arguments) const;

    QTemporaryDir m_folder;
    QString m_caFile;
};
