#include "platform/FileCopy.h"

#include "platform/PosixFile.h"

#include <fcntl.h>

using namespace PosixFile;

namespace
{
// Some file systems refuse; the copy is good without.
void copyTimes(const struct stat &status, const FilePath &path)
{
    const timespec times[] = {status.st_atim, status.st_mtim};
    ::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
}

// Not by std::filesystem, which does not report a full disk, and fails on a file system without modes.
FileError copyFile(const FilePath &source, const FilePath &destination, const struct stat &status)
{
    const Descriptor from(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
    if (from.number < 0)
        return lastError(source);
    Descriptor to(::open(destination.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (to.number < 0)
        return lastError(destination);
    QByteArray buffer(1 << 17, Qt::Uninitialized);
    while (const ssize_t size = ::read(from.number, buffer.data(), static_cast<size_t>(buffer.size()))) {
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
            return lastError(source);
        if (!writeAll(to.number, QByteArrayView(buffer).first(size)))
            return lastError(destination);
    }
    ::fchmod(to.number, status.st_mode & 07777);
    if (!to.close())
        return lastError(destination);
    copyTimes(status, destination);
    return {};
}

FileError copyLink(const FilePath &source, const FilePath &destination, const struct stat &status)
{
    std::error_code failure;
    std::filesystem::copy_symlink(source, destination, failure);
    if (!failure)
        copyTimes(status, destination);
    return errorOf(failure.value(), destination);
}

// The copy gets the folder's mode last: a 0555 folder made so at once could not be filled.
FileError copyFolder(const FilePath &source, const FilePath &destination, const struct stat &status)
{
    const Folder folder = openFolder(source);
    if (!folder)
        return lastError(source);
    if (::mkdir(destination.c_str(), 0777) != 0)
        return lastError(destination);
    const Listing listing = entriesIn(folder);
    for (const Entry &entry : listing.entries) {
        if (const FileError error = FileCopy::copyEntry(source / entry.name, destination / entry.name))
            return error;
    }
    if (listing.error != 0) // half a listing would make half a copy
        return errorOf(listing.error, source);
    ::chmod(destination.c_str(), status.st_mode & 07777);
    copyTimes(status, destination);
    return {};
}
} // namespace

FileError FileCopy::copyEntry(const FilePath &source, const FilePath &destination)
{
    const auto status = statusOf(source);
    if (!status)
        return lastError(source);
    if (S_ISDIR(status->st_mode))
        return copyFolder(source, destination, *status);
    if (S_ISLNK(status->st_mode))
        return copyLink(source, destination, *status);
    if (S_ISREG(status->st_mode))
        return copyFile(source, destination, *status);
    return errorOf(EINVAL, source);
}
