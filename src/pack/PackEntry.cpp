#include "pack/PackEntry.h"

PackEntry::PackEntry(const FilePath &source, const FilePath &destination, ScriptRunner &runner)
    : m_source(source), m_destination(destination), m_runner(runner)
{
}

std::optional<PrivilegedOutcome> PackEntry::makeRoom()
{
    if (FileManager::itemExists(m_destination)) { // a dangling link too, or it would never be replaced
        keepFailureOf(FileManager::removeItem(m_destination));
        return ifRefused("rm -rf '%@' && cp -r '%@' '%@'", {m_destination, m_source, m_destination});
    }
    const FilePath parent = m_destination.parent_path();
    keepFailureOf(FileManager::createDirectory(parent, true));
    return ifRefused("mkdir -p '%@' && cp -r '%@' '%@'", {parent, m_source, m_destination});
}

std::optional<PrivilegedOutcome> PackEntry::copy()
{
    keepFailureOf(FileManager::copyItem(m_source, m_destination));
    return ifRefused("cp -r '%@' '%@'", {m_source, m_destination});
}

void PackEntry::keepFailureOf(const FileError &error)
{
    if (error)
        m_failure = error;
}

std::optional<PrivilegedOutcome> PackEntry::ifRefused(QByteArrayView command, const QList<FilePath> &paths) const
{
    if (m_failure.code != FileError::NoWritePermission)
        return std::nullopt;
    return PrivilegedRun::run(m_runner, command, paths);
}
