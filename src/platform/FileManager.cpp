#include "platform/FileManager.h"

#include "platform/FileCopy.h"
#include "platform/PosixFile.h"

#include <QFile>
#include <QSaveFile>

#include <string>

#include <fcntl.h>
#include <stdio.h> // renameat2

using namespace PosixFile;

namespace
{
FileError removeOwn(const FilePath &copy)
{
    if (!FileManager::itemExists(copy))
        return {};
    FileManager::makeTreeWritable(copy); // read-only folders in it could not be removed
    return FileManager::removeItem(copy);
}

// What is being copied stands beside its place, until it is whole, under a name that is no name of an add-on, and too
// short to be refused where the real name is not. What a kill left there is removed; where that is refused, or where it
// is the source itself, the next name is taken.
FilePath partialBeside(const FilePath &place, const FilePath &source)
{
    FilePath partial = place.parent_path() / ".wayfar-copy";
    for (int number = 2; partial == source || removeOwn(partial); ++number)
        partial = place.parent_path() / (".wayfar-copy-" + std::to_string(number));
    return partial;
}

// Replaces nothing, where the file system can promise that.
bool renameToFreePlace(const FilePath &from, const FilePath &to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    return (errno == EINVAL || errno == ENOSYS) && ::rename(from.c_str(), to.c_str()) == 0;
}

FileError noPath()
{
    return errorOf(ENOENT, {});
}

// A file system that does not tell is asked.
bool isFolder(const FilePath &path, unsigned char type)
{
    if (type != DT_UNKNOWN)
        return type == DT_DIR;
    const auto status = statusOf(path);
    return status && S_ISDIR(status->st_mode);
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
    std::filesystem::remove_all(*path, failure);
    return errorOf(failure.value(), *path);
}

FileError FileManager::copyItem(const OptionalPath &source, const OptionalPath &destination)
{
    if (!source || !destination)
        return noPath();
    if (itemExists(destination))
        return errorOf(EEXIST, *destination);
    const FilePath place = destination->has_filename() ? *destination : destination->parent_path();
    if (!destination->has_filename() && !isDirectory(source))
        return errorOf(ENOTDIR, *destination); // a slash at its end asks for a folder
    const FilePath copy = partialBeside(place, *source);
    FileError error = FileCopy::copyEntry(*source, copy);
    if (!error && !renameToFreePlace(copy, place))
        error = lastError(place);
    if (error)
        (void)removeOwn(copy);
    return error;
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
    if (const FileError error = copyItem(source, destination))
        return error;
    (void)removeItem(source); // the copy is complete: a source that stays is no failure
    return {};
}

QList<FilePath> FileManager::contentsOfDirectory(const OptionalPath &path)
{
    QList<FilePath> names;
    if (const Folder folder = path ? openFolder(*path) : Folder(nullptr, ::closedir)) {
        for (const Entry &entry : entriesIn(folder).entries)
            names.append(entry.name);
    }
    return names;
}

void FileManager::visitBelow(const OptionalPath &path, const std::function<void(const FilePath &)> &visit)
{
    std::vector<Entry> entries;
    if (const Folder folder = path ? openFolder(*path) : Folder(nullptr, ::closedir))
        entries = entriesIn(folder).entries; // and closes the folder: a deep tree would need too many of them
    for (const Entry &entry : entries) {
        const FilePath below = *path / entry.name;
        visit(below);
        if (isFolder(below, entry.type))
            visitBelow(below, visit);
    }
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
    Descriptor opened(::open(path->c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NONBLOCK));
    return opened.number >= 0 && writeAll(opened.number, bytes) && opened.close();
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
