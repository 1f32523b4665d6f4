#pragma once

#include "demo/VendorServer.h"

#include "platform/FileManager.h"
#include "platform/UrlLoader.h"
#include "platform/UserDefaults.h"
#include "places/VendorSite.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <optional>

// A player's home, a game folder and a vendor of one test's own. Make a new one for every test function; it sets XDG_*
// for the process and takes the folders with it.
class TestWorld
{
public:
    TestWorld();
    ~TestWorld();

    QString path(const QString &below = {}) const; // in the temporary folder
    QString supportFolder() const; // not made
    QString archive() const; // "download.zip" in it
    QString gameFolder() const; // stored as "installPath"
    QString addOnFolder() const; // gameFolder's, without a trailing slash
    QString preferencesFile() const;

    UserDefaults &defaults() { return *m_defaults; }
    void storeAccount(const std::optional<QString> &user, const std::optional<QString> &password);
    UrlLoader &loader(); // with network(), unless said otherwise; it starts the vendor
    VendorServer &vendor(); // started at the first call
    void stopVendor(); // nothing answers at its port any more
    VendorSite site() const;
    UrlLoaderSettings network(); // that leads to the vendor
    void useVendor(const UrlLoaderSettings &settings); // instead of network(), for the loader
    void goOffline(); // the loader's next requests are refused

    void write(const QString &path, const QByteArray &bytes) const; // with the folders it needs
    QByteArray read(const QString &path) const; // empty when there is no such file
    QStringList namesIn(const QString &folder) const; // below path(), hidden ones too, by the alphabet
    void installPack(const QByteArray &version) const; // a table of contents and one file
    // A real archive: each pair a path in it ("Trailbook/Trailbook.toc"; ending in "/" for a folder) and its bytes.
    QByteArray zip(const QList<std::pair<QString, QByteArray>> &entries) const;

private:
    QTemporaryDir m_folder;
    std::unique_ptr<UserDefaults> m_defaults;
    std::unique_ptr<VendorServer> m_vendor;
    std::unique_ptr<UrlLoader> m_loader;
};

// A real archive of what the shell commands make in an empty folder.
QByteArray zipOf(const QByteArray &commands, const QStringList &zipOptions = {});

// While it lives, the file system sees this thread as an ordinary user with rights of nobody's (for root; anyone else
// is one already), so that a folder of mode 0555 refuses. Child processes stay who they were.
class OrdinaryUser
{
public:
    OrdinaryUser();
    ~OrdinaryUser();
    Q_DISABLE_COPY_MOVE(OrdinaryUser)
};

// The lines that the program's log writes on standard error while the action runs.
QByteArray standardErrorOf(const std::function<void()> &action);
