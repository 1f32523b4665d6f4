#include "platform/FileManager.h"

#include <QFile>
#include <QSaveFile>

#include <cerrno>
#include <cstring>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

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

FileError errorOf(int number, const FilePath &path)
{
    if (number == 0)
        return {};
    return {codeOf(number), toText(path) + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(number))};
}

FileError lastError(const FilePath &path)
{
    return errorOf(errno, path);
}

FileError noPath()
{
    return errorOf(ENOENT, {});
}

std::optional<struct stat> statusOf(const FilePath &path)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

// To open a FIFO is to wait for its other end: hence O_NONBLOCK wherever one may stand.
struct Descriptor {
    explicit Descriptor(int opened) : number(opened) { }
    ~Descriptor()
    {
        if (number >= 0)
            ::close(number);
    }
    Q_DISABLE_COPY_MOVE(Descriptor)

    const int number;
};

void copyTimes(const struct stat &status, const FilePath &path)
{
    const timespec times[] = {status.st_atim, status.st_mtim};
    ::utimensat(AT_FDCWD, path.c_str(), times,
                AT_SYMLINK_NOFOLLOW); // some file systems refuse; the copy is good without
}

// False, with the reason in errno, when not all of it could be written.
bool writeAll(int descriptor, QByteArrayView bytes)
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

// Not by std::filesystem, which does not report a full disk, and fails on a file system without modes.
FileError copyFile(const FilePath &source, const FilePath &destination, const struct stat &status)
{
    const Descriptor from(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
    if (from.number < 0)
        return lastError(source);
    const Descriptor to(::open(destination.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (to.number < 0)
        return lastError(destination);
    QByteArray buffer(1 << 17, Qt::Uninitialized);
    while (const ssize_t size = ::read(from.number, buffer.data(), static_cast<size_t>(buffer.size()))) {
        if (size < 0)
            return lastError(source);
        if (!writeAll(to.number, QByteArrayView(buffer).first(size)))
            return lastError(destination);
    }
    ::fchmod(to.number, status.st_mode & 07777);
    copyTimes(status, destination);
    return {};
}

FileError copyLink(const FilePath &source, const FilePath &destination, const struct stat &status)
{
    std::error_code failure;
    fs::copy_symlink(source, destination, failure);
    if (!failure)
        copyTimes(status, destination);
    return errorOf(failure.value(), destination);
}

FileError copyEntry(const FilePath &source, const FilePath &destination);

using Folder = std::unique_ptr<DIR, int (*)(DIR *)>;

Folder openFolder(const FilePath &path)
{
    return Folder(::opendir(path.c_str()), ::closedir);
}

QList<FilePath> namesIn(const Folder &folder)
{
    QList<FilePath> names;
    while (const dirent *entry = ::readdir(folder.get())) {
        const FilePath name(entry->d_name);
        if (name != "." && name != "..")
            names.append(name);
    }
    return names;
}

// The copy gets the folder's mode last: a 0555 folder made so at once could not be filled.
FileError copyFolder(const FilePath &source, const FilePath &destination, const struct stat &status)
{
    const Folder folder = openFolder(source);
    if (!folder)
        return lastError(source);
    if (::mkdir(destination.c_str(), 0777) != 0)
        return lastError(destination);
    for (const FilePath &name : namesIn(folder)) {
        if (const FileError error = copyEntry(source / name, destination / name))
            return error;
    }
    ::chmod(destination.c_str(), status.st_mode & 07777);
    copyTimes(status, destination);
    return {};
}

FileError copyEntry(const FilePath &source, const FilePath &destination)
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

void grantOwner(const FilePath &path, mode_t folderRights, mode_t fileRights)
{
    const auto status = statusOf(path);
    if (!status || S_ISLNK(status->st_mode))
        return;
    const mode_t rights = S_ISDIR(status->st_mode) ? folderRights : fileRights;
    if ((status->st_mode & rights) != rights)
        ::chmod(path.c_str(), (status->st_mode | rights) & 07777);
    if (!S_ISDIR(status->st_mode))
        return;
    for (const FilePath &name : FileManager::contentsOfDirectory(path))
        grantOwner(path / name, folderRights, fileRights);
}
} // namespace

FilePath toPath(const QString &text)
{
    return QFile::encodeName(text).toStdString();
}

QString toText(const FilePath &path)
{
    return QFile::decodeName(QByteArray::fromStdString(path.native()));
}

bool FileManager::fileExists(const OptionalPath &path)
{
    struct stat status = {};
    return path && ::stat(path->c_str(), &status) == 0;
}

bool FileManager::itemExists(const OptionalPath &path)
{
    return path && statusOf(*path).has_value();
}

bool FileManager::isDirectory(const OptionalPath &path)
{
    struct stat status = {};
    return path && ::stat(path->c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

FileError FileManager::createDirectory(const OptionalPath &path, bool withIntermediateDirectories)
{
    if (!path)
        return noPath();
    if (::mkdir(path->c_str(), 0777) == 0)
        return {};
    const int reason = errno;
    if (!withIntermediateDirectories)
        return errorOf(reason, *path);
    if (reason == EEXIST)
        return isDirectory(path) ? FileError() : errorOf(EEXIST, *path);
    const FilePath parent = path->parent_path();
    if (reason != ENOENT || parent.empty() || parent == *path)
        return errorOf(reason, *path);
    if (const FileError error = createDirectory(parent, true))
        return error;
    if (::mkdir(path->c_str(), 0777) == 0)
        return {};
    const FileError refusal = lastError(*path);
    return isDirectory(path) ? FileError() : refusal; // with a trailing slash it was made together with its parent
}

FileError FileManager::removeItem(const OptionalPath &path)
{
    if (!path)
        return noPath();
    if (!itemExists(path)) // remove_all reports no error for a missing path
        return lastError(*path);
    std::error_code failure;
    fs::remove_all(*path, failure);
    return errorOf(failure.value(), *path);
}

FileError FileManager::copyItem(const OptionalPath &source, const OptionalPath &destination)
{
    if (!source || !destination)
        return noPath();
    if (itemExists(destination))
        return errorOf(EEXIST, *destination);
    return copyEntry(*source, *destination);
}

FileError FileManager::moveItem(const OptionalPath &source, const OptionalPath &destination)
{
    if (!source || !destination)
        return noPath();
    if (itemExists(destination)) // rename(2) would replace a file or an empty folder without a word
        return errorOf(EEXIST, *destination);
    if (::rename(source->c_str(), destination->c_str()) == 0)
        return {};
    if (errno != EXDEV)
        return lastError(*destination);
    if (const FileError error = copyItem(source, destination)) {
        makeTreeWritable(destination);
        (void)removeItem(destination); // half a copy; the reason to return is the copy's
        return error;
    }
    (void)removeItem(source); // the copy is complete: a source that stays is no failure
    return {};
}

QList<FilePath> FileManager::contentsOfDirectory(const OptionalPath &path)
{
    const Folder folder = path ? openFolder(*path) : Folder(nullptr, ::closedir);
    return folder ? namesIn(folder) : QList<FilePath>();
}

void FileManager::makeTreeWritable(const OptionalPath &path)
{
    if (path)
        grantOwner(*path, S_IRWXU, 0);
}

void FileManager::makeTreeReadable(const OptionalPath &path)
{
    if (path)
        grantOwner(*path, S_IRUSR | S_IXUSR, S_IRUSR);
}

std::optional<QByteArray> FileManager::contentsOfFile(const OptionalPath &path)
{
    if (!path)
        return std::nullopt;
    const Descriptor opened(::open(path->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    QFile file;
    if (opened.number < 0 || ::fstat(opened.number, &status) != 0 || !S_ISREG(status.st_mode)
        || status.st_size > MostInMemory || !file.open(opened.number, QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray bytes = file.readAll();
    return file.error() == QFileDevice::NoError ? std::optional(bytes) : std::nullopt;
}

FileError FileManager::createEmptyFile(const OptionalPath &path)
{
    if (!path)
        return noPath();
    const Descriptor opened(::open(path->c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, 0666));
    return opened.number < 0 ? lastError(*path) : FileError();
}

bool FileManager::appendToExistingFile(const OptionalPath &path, QByteArrayView bytes)
{
    if (!path)
        return false;
    const Descriptor opened(::open(path->c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NONBLOCK));
    return opened.number >= 0 && writeAll(opened.number, bytes);
}

FileError FileManager::writeAtomically(const OptionalPath &path, QByteArrayView bytes)
{
    if (!path)
        return noPath();
    QSaveFile file(toText(*path));
    // Unbuffered: a buffer of which a full disk took only a part would be committed as if it were whole.
    if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
        && file.write(bytes.data(), bytes.size()) == bytes.size() && file.commit())
        return {};
    return {FileError::Unknown, file.errorString()};
}
