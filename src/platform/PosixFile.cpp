#include "platform/PosixFile.h"

#include <cstring>
#include <string_view>

namespace
{
FileError::Code codeOf(int number)
{
    switch (number) {
    case 0:
        return FileError::None;
    case ENOENT:
        return FileError::NoSuchFile;
    case EACCES:
    case EPERM:
        return FileError::NoWritePermission;
    case ENAMETOOLONG:
        return FileError::InvalidFileName;
    case EEXIST:
        return FileError::FileExists;
    case ENOSPC:
    case EDQUOT:
        return FileError::OutOfSpace;
    case EROFS:
        return FileError::VolumeReadOnly;
    default: // ENOTEMPTY among them: a race with the running game must not raise a password prompt
        return FileError::Unknown;
    }
}
} // namespace

FileError PosixFile::errorOf(int number, const FilePath &path)
{
    if (number == 0)
        return {};
    return {codeOf(number), toText(path) + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(number))};
}

FileError PosixFile::lastError(const FilePath &path)
{
    return errorOf(errno, path);
}

std::optional<struct stat> PosixFile::statusOf(const FilePath &path)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

bool PosixFile::writeAll(int descriptor, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), static_cast<size_t>(bytes.size()));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        bytes = bytes.sliced(written);
    }
    return true;
}

PosixFile::Folder PosixFile::openFolder(const FilePath &path)
{
    return Folder(::opendir(path.c_str()), ::closedir);
}

PosixFile::Listing PosixFile::entriesIn(const Folder &folder)
{
    Listing listing;
    errno = 0;
    while (const dirent *entry = ::readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            listing.entries.push_back({name, entry->d_type});
    }
    listing.error = errno;
    return listing;
}
