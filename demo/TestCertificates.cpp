#include "demo/TestCertificates.h"

#include <QFile>
#include <QProcess>
#include <QSslCertificate>
#include <QSslKey>

using namespace Qt::StringLiterals;

namespace
{

QByteArray contents(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("%s: %s", qPrintable(path), qPrintable(file.errorString()));
    }
    return file.readAll();
}

QByteArray settingsText(const QStringList &names)
{
    QByteArray text = "[req]\n"
                      "distinguished_name = subject\n"
                      "[subject]\n"
                      "[authority]\n"
                      "basicConstraints = critical, CA:TRUE, pathlen:0\n"
                      "keyUsage = critical, keyCertSign, cRLSign\n"
                      "subjectKeyIdentifier = hash\n"
                      "[server]\n"
                      "basicConstraints = critical, CA:FALSE\n"
                      "keyUsage = critical, digitalSignature\n"
                      "extendedKeyUsage = serverAuth\n"
                      "subjectKeyIdentifier = hash\n"
                      "authorityKeyIdentifier = keyid\n"
                      "subjectAltName = IP:127.0.0.1";
    for (const QString &name : names) {
        text += ", DNS:" + name.toLatin1();
    }
    return text + '\n';
}

} // namespace

TestCertificates::TestCertificates(const Wishes &wishes)
{
    if (!m_folder.isValid()) {
        qFatal("No folder for the certificates: %s", qPrintable(m_folder.errorString()));
    }
    writeSettings(wishes.names);
    const QString authority = makeAuthority(u"authority"_s);
    makeServerCertificate(authority, wishes.expired ? 0 : wishes.days);
    m_caFile = path((wishes.trusted ? authority : makeAuthority(u"stranger"_s)) + u".pem"_s);
}

QSslConfiguration TestCertificates::serverConfiguration() const
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(QSslCertificate(contents(serverFile())));
    configuration.setPrivateKey(QSslKey(contents(serverKeyFile()), QSsl::Ec));
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    return configuration;
}

// Settings of our own, because those of the system differ from one machine to the next.
void TestCertificates::writeSettings(const QStringList &names) const
{
    QFile file(path(u"settings"_s));
    const QByteArray text = settingsText(names);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
        qFatal("%s: %s", qPrintable(file.fileName()), qPrintable(file.errorString()));
    }
}

QString TestCertificates::makeAuthority(const QString &name) const
{
    openssl({u"req"_s, u"-x509"_s, u"-config"_s, path(u"settings"_s), u"-extensions"_s, u"authority"_s, u"-newkey"_s,
             u"ec"_s, u"-pkeyopt"_s, u"ec_paramgen_curve:prime256v1"_s, u"-noenc"_s, u"-keyout"_s,
             path(name + u".key"_s), u"-out"_s, path(name + u".pem"_s), u"-days"_s, u"30"_s, u"-subj"_s,
             u"/CN=Loopback "_s + name});
    return name;
}

void TestCertificates::makeServerCertificate(const QString &authority, int days) const
{
    openssl({u"req"_s, u"-new"_s, u"-config"_s, path(u"settings"_s), u"-newkey"_s, u"ec"_s, u"-pkeyopt"_s,
             u"ec_paramgen_curve:prime256v1"_s, u"-noenc"_s, u"-keyout"_s, serverKeyFile(), u"-out"_s,
             path(u"server.csr"_s), u"-subj"_s, u"/CN=Loopback server"_s});
    openssl({u"x509"_s, u"-req"_s, u"-in"_s, path(u"server.csr"_s), u"-CA"_s, path(authority + u".pem"_s), u"-CAkey"_s,
             path(authority + u".key"_s), u"-set_serial"_s, u"2"_s, u"-extfile"_s, path(u"settings"_s),
             u"-extensions"_s, u"server"_s, u"-days"_s, QString::number(days), u"-out"_s, serverFile()});
}

void TestCertificates::openssl(const QStringList &arguments) const
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(u"openssl"_s, arguments);
    if (!process.waitForFinished()) {
        qFatal("openssl: %s", qPrintable(process.errorString()));
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        qFatal("openssl %s: %s", qPrintable(arguments.first()), process.readAll().constData());
    }
}
