#pragma once

#include "platform/FileManager.h"

#include <QTest>

#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

// Files, folders and links for a test, with the parents they need, and what became of them. Names are bytes.

inline struct stat statusOf(const FilePath &path)
{
    struct stat status = {};
    ::lstat(path.c_str(), &status);
    return status;
}

// 0 for a missing one.
inline mode_t modeOf(const FilePath &path)
{
    return statusOf(path).st_mode & 07777;
}

inline void setMode(const FilePath &path, mode_t mode)
{
    QCOMPARE(::chmod(path.c_str(), mode), 0);
}

// Also sets the mode of a folder that is there already.
inline void makeFolder(const FilePath &path, mode_t mode = 0755)
{
    std::filesystem::create_directories(path);
    setMode(path, mode);
}

inline void makeFile(const FilePath &path, const QByteArray &bytes = "bytes", mode_t mode = 0644)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary).write(bytes.constData(), bytes.size());
    setMode(path, mode);
}

inline void makeLink(const FilePath &target, const FilePath &path)
{
    QCOMPARE(::symlink(target.c_str(), path.c_str()), 0);
}

inline void makeFifo(const FilePath &path)
{
    QCOMPARE(::mkfifo(path.c_str(), 0666), 0);
}

// Empty for what is no link.
inline FilePath targetOf(const FilePath &link)
{
    std::error_code failure;
    return std::filesystem::read_symlink(link, failure);
}

inline const FilePath nameThatIsNotUtf8 = "caf\xe9";
