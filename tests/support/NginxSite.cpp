#include "support/NginxSite.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QString siteFile = u"wayfar-site.conf"_s;
const QString passedOn = u"snippets/wayfar-forms-passed-on.conf"_s;
const QString staticForms = u"snippets/wayfar-forms-static.conf"_s;

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s: %s", qPrintable(path), qPrintable(file.errorString()));
    return file.readAll();
}

quint16 freePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

// An ordinary user's PATH leaves out the folder that it is in.
QString nginx()
{
    const QString found = QStandardPaths::findExecutable(u"nginx"_s);
    return found.isEmpty() ? QStandardPaths::findExecutable(u"nginx"_s, {u"/usr/sbin"_s, u"/usr/local/sbin"_s}) : found;
}
} // namespace

NginxSite::NginxSite(const VendorSite &site, int certificateDays)
    : m_names{site.host, site.wwwHost(), site.downloadHost},
      m_certificates({.names = m_names, .days = certificateDays}),
      m_port(freePort())
{
    for (const QString &file : {siteFile, passedOn, staticForms})
        m_files.insert(file, contentsOf(QStringLiteral(VENDOR_KIT) + u'/' + file.section(u'/', -1)));
    adapt(site);
    for (const QString &folder : {u"site"_s, u"download"_s, u"snippets"_s})
        QDir(m_folder.path()).mkdir(folder);
}

NginxSite::~NginxSite()
{
    stop();
}

// The download host first: its name ends in the other's.
void NginxSite::adapt(const VendorSite &site)
{
    change("listen [::]:443 ssl;", "");
    change("listen 443 ssl;", "listen 127.0.0.1:" + QByteArray::number(m_port) + " ssl;");
    change("/etc/letsencrypt/live/wayfar.example/fullchain.pem", m_certificates.serverFile().toUtf8());
    change("/etc/letsencrypt/live/wayfar.example/privkey.pem", m_certificates.serverKeyFile().toUtf8());
    change("/srv/wayfar", m_folder.path().toUtf8());
    change("download.wayfar.example", site.downloadHost.toUtf8());
    change("wayfar.example", site.host.toUtf8());
}

void NginxSite::publish(const QString &path, const QByteArray &bytes) const
{
    const QString file = m_folder.filePath(path);
    QDir().mkpath(QFileInfo(file).path());
    QFile out(file);
    QVERIFY(out.open(QIODevice::WriteOnly));
    QCOMPARE(out.write(bytes), bytes.size());
}

void NginxSite::withdraw(const QString &path) const
{
    QVERIFY(QFile::remove(m_folder.filePath(path)));
}

void NginxSite::publishEvening() const
{
    const QString content = QStringLiteral(DEMO_CONTENT);
    publish(u"site/api/macVersion"_s, "1.2.6");
    publish(u"site/api/wayfarVersion"_s, "1.2.6");
    publish(u"site/api/changelog"_s, contentsOf(content + u"/changelog.txt"_s));
    publish(u"site/feed"_s, contentsOf(content + u"/feed.xml"_s));
    publish(u"site/installer/banners/large.png"_s, contentsOf(content + u"/banners-large/large.png"_s));
    publish(u"site/installer/banners/small.png"_s, contentsOf(content + u"/banners-small/small.png"_s));
}

void NginxSite::change(const QByteArray &before, const QByteArray &after)
{
    bool isThere = false;
    for (QByteArray &text : m_files) {
        isThere = isThere || text.contains(before);
        text.replace(before, after);
    }
    QVERIFY2(isThere, before.constData());
}

void NginxSite::changeAndRestart(const QByteArray &before, const QByteArray &after)
{
    change(before, after);
    start();
}

void NginxSite::passFormsTo(const QByteArray &address)
{
    change("http://127.0.0.1:8080", address);
}

void NginxSite::answerFormsFromFiles()
{
    change("    include snippets/wayfar-forms-passed-on.conf;\n    # include", "    include");
}

// One process without a service, its files in the folder. Names other than the site's get no answer.
void NginxSite::writeServer() const
{
    QByteArray server = "daemon off;\nmaster_process off;\npid nginx.pid;\nevents {}\nhttp {\n"
                        "include /etc/nginx/mime.types;\naccess_log off;\n";
    for (const char *use : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
        server += QByteArray(use) + "_temp_path " + use + ";\n";
    server +=
        "server { listen 127.0.0.1:" + QByteArray::number(m_port) + " ssl default_server; ssl_reject_handshake on; }\n";
    publish(u"nginx.conf"_s, server + "include wayfar-site.conf;\n}\n");
    for (auto file = m_files.cbegin(); file != m_files.cend(); ++file)
        publish(file.key(), file.value());
}

void NginxSite::start()
{
    stop();
    writeServer();
    m_nginx.start(nginx(),
                  {u"-p"_s, m_folder.path(), u"-c"_s, m_folder.filePath(u"nginx.conf"_s), u"-e"_s, u"stderr"_s, u"-g"_s,
                   u"error_log stderr notice;"_s});
    m_nginx.setReadChannel(QProcess::StandardError);
    QByteArray said;
    while (!said.contains("OS: ")) { // told once it listens
        QVERIFY2(m_nginx.waitForReadyRead(10000), qPrintable(m_nginx.errorString() + QString::fromUtf8(said)));
        said += m_nginx.readAll();
    }
}

// In one process, a signal that comes just before the server waits is seen only when the next one wakes it.
void NginxSite::stop()
{
    while (m_nginx.state() != QProcess::NotRunning) {
        m_nginx.terminate();
        m_nginx.waitForFinished(500);
    }
}

UrlLoaderSettings NginxSite::network() const
{
    UrlLoaderSettings settings{.caFile = m_certificates.caFile()};
    for (const QString &name : m_names)
        settings.connectTo.append(name.toLatin1() + ":443:127.0.0.1:" + QByteArray::number(m_port));
    return settings;
}
