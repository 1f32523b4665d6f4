#pragma once

#include "support/StandIns.h"
#include "support/TestWorld.h"

#include "app/AppDelegate.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

// What leaves the program, in its order.
using Journal = QStringList;

// Starts what it is told to, if anything is there, as the product does.
class JournalWorkspace : public Workspace
{
public:
    explicit JournalWorkspace(Journal &journal) : m_journal(journal) { }
    bool launchApplication(const QString &path) override
    {
        m_journal.append(QStringLiteral("launch ") + path);
        return Workspace::launchApplication(path);
    }

private:
    Journal &m_journal;
};

class JournalAlert : public RecordingAlert
{
public:
    explicit JournalAlert(Journal &journal) : m_journal(journal) { }
    int runModal(const AlertContent &content) override
    {
        m_journal.append(QStringLiteral("alert"));
        return RecordingAlert::runModal(content);
    }

private:
    Journal &m_journal;
};

// The application folder does not refuse the administrator, whoever runs the test.
class JournalAdministrator : public Administrator
{
public:
    JournalAdministrator(Journal &journal, const QString &closedFolder)
        : m_journal(journal), m_folder(QFile::encodeName(closedFolder))
    {
    }
    std::optional<ScriptError> execute(const QByteArray &source) override
    {
        m_journal.append(QStringLiteral("administrator"));
        struct stat status = {};
        ::stat(m_folder.constData(), &status);
        ::chmod(m_folder.constData(), 0755);
        const auto error = Administrator::execute(source);
        ::chmod(m_folder.constData(), status.st_mode & 07777);
        return error;
    }

private:
    Journal &m_journal;
    const QByteArray m_folder;
};

// The replacement of an installer 1.2.6 by a downloaded one, from the archive in the support folder to the end, without
// windows.
class Replacement
{
public:
    Replacement()
    {
        world.write(runningBundle() + QStringLiteral("/AppRun"), "#!/bin/sh\n");
        QDir().mkpath(updateFolder());
    }
    ~Replacement() { ::umask(m_umask); }
    Q_DISABLE_COPY_MOVE(Replacement)

    // As after a download that ended well.
    void install(const QString &version, const std::optional<QByteArray> &archive)
    {
        if (archive)
            world.write(world.archive(), *archive);
        delegate.setVersionValue(version);
        delegate.installUpdate();
    }
    // The same as a player.
    void installAsThePlayer(const QString &version, const std::optional<QByteArray> &archive)
    {
        if (archive)
            world.write(world.archive(), *archive);
        const OrdinaryUser player;
        install(version, std::nullopt);
    }
    void closeApplicationFolder() const { ::chmod(QFile::encodeName(applicationFolder()).constData(), 0555); }

    // A bundle that leaves a file beside itself when it is started, and whose files say which version they are.
    static QByteArray archiveOf(const QString &version)
    {
        return zipOf(QStringLiteral("mkdir -p '%1/usr'; printf '#!/bin/sh\\n: >\"$0.started\"\\n' >'%1/AppRun'; "
                                    "chmod 755 '%1/AppRun'; printf '%2' >'%1/usr/version'")
                         .arg(nameOf(version), version)
                         .toUtf8());
    }
    static QString nameOf(const QString &version) { return QStringLiteral("WayfarRoutes_%1.app").arg(version); }
    QString applicationFolder() const { return world.path(QStringLiteral("my applications")); }
    QString runningBundle() const { return applicationFolder() + u'/' + nameOf(QStringLiteral("1.2.6")); }
    QString newBundle(const QString &version) const { return applicationFolder() + u'/' + nameOf(version); }
    QString updateFolder() const { return world.supportFolder() + QStringLiteral("/update"); }
    QString unpacked(const QString &version) const { return updateFolder() + u'/' + nameOf(version); }
    QByteArray versionIn(const QString &bundle) const { return world.read(bundle + QStringLiteral("/usr/version")); }

    Journal launchThenEnd(const QString &version) const
    {
        return {QStringLiteral("launch ") + newBundle(version), QStringLiteral("terminate")};
    }

private:
    // So that the player, who may be another than the test's process, owns all but what is closed to him.
    const mode_t m_umask = ::umask(0);

public:
    TestWorld world;
    Journal journal;
    JournalWorkspace workspace{journal};
    JournalAlert alert{journal};
    JournalAdministrator administrator{journal, applicationFolder()};
    AppDelegate delegate{{.site = world.site(),
                          .defaults = world.defaults(),
                          .loader = world.loader(),
                          .workspace = workspace,
                          .alert = alert,
                          .scriptRunner = administrator,
                          .terminate = [this] { journal.append(QStringLiteral("terminate")); },
                          .exit = [this](int status) { journal.append(QStringLiteral("exit %1").arg(status)); },
                          .bundlePath = runningBundle()}};
};
