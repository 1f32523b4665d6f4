#pragma once

#include "pack/PrivilegedRun.h"
#include "platform/FileManager.h"

#include <QList>

#include <optional>

class ScriptRunner;

// One entry at the top of a downloaded pack, on its way into the add-on folder: with the player's own rights first, and
// as an administrator only where the file system refuses for want of permission. A failure of any other kind is passed
// over. Blocks; main thread.
class PackEntry
{
public:
    PackEntry(const FilePath &source, const FilePath &destination, ScriptRunner &runner);

    // makeRoom removes what is in the entry's place, or makes the folder that it goes into; copy comes after it. Both
    // give nothing when no administrator was needed. The administrator's command that makes room copies too: when it is
    // done, copy is not needed.
    [[nodiscard]] std::optional<PrivilegedOutcome> makeRoom();
    [[nodiscard]] std::optional<PrivilegedOutcome> copy();

private:
    void keepFailureOf(const FileError &error);
    std::optional<PrivilegedOutcome> ifRefused(QByteArrayView command, const QList<FilePath> &paths) const;

    const FilePath m_source;
    const FilePath m_destination;
    ScriptRunner &m_runner;
    // The last failure. A step that succeeds keeps it: a refusal while making room lets an administrator copy, too.
    FileError m_failure;
};
