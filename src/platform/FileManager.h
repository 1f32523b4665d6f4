#pragma once

#include "platform/FilePath.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

FilePath toPath(const QString &text);
QString toText(const FilePath &path);

// The outcome of a file operation. The callers compare the numbers.
struct FileError {
    enum Code {
        None = 0,
        NoSuchFile = 4,
        Unknown = 512,
        NoWritePermission = 513, // the only one that a privileged second try may follow
        InvalidFileName = 514,
        FileExists = 516,
        OutOfSpace = 640,
        VolumeReadOnly = 642
    };

    Code code = None;
    QString description;

    explicit operator bool() const { return code != None; }
};

// File operations. A failure carries the system's reason. Links are not followed, except where it is said. An operation
// without a path does nothing and fails with NoSuchFile. Any thread.
namespace FileManager
{
bool fileExists(const OptionalPath &path); // follows links: false for a dangling one
bool itemExists(const OptionalPath &path); // true for a dangling link too
bool isDirectory(const OptionalPath &path); // follows links

// An existing folder is an error (FileExists) without intermediate folders, and none with them.
[[nodiscard]] FileError createDirectory(const OptionalPath &path, bool withIntermediateDirectories);
// With everything in it; stops at the first refusal, and what went before stays gone.
[[nodiscard]] FileError removeItem(const OptionalPath &path);
// The destination must not exist. It comes into being whole: a copy that fails leaves nothing, and one that is killed
// leaves a folder or file of a name of its own beside it, which the next copy to that place removes.
[[nodiscard]] FileError copyItem(const OptionalPath &source, const OptionalPath &destination);
// Also from one disk to another. The destination must not exist; a failed move leaves the source whole.
[[nodiscard]] FileError moveItem(const OptionalPath &source, const OptionalPath &destination);
// Names alone, in the file system's order, hidden ones included; nothing for a folder that can't be listed.
QList<FilePath> contentsOfDirectory(const OptionalPath &path);
// Everything below the folder, each folder before its content, in the file system's order. A folder that can't be
// listed, or vanishes meanwhile, is passed over. Links are not followed.
void visitBelow(const OptionalPath &path, const std::function<void(const FilePath &)> &visit);
// Gives the owner every right on the folders of a tree, so that it can be removed again.
void makeTreeWritable(const OptionalPath &path);
// Lets the owner read all of a tree: an unreadable file fails a copy with the code that asks for an administrator.
void makeTreeReadable(const OptionalPath &path);

constexpr qint64 MostInMemory = qint64(64) * 1024 * 1024;
// Nothing where there is no plain file, where it can't be read, and where it has more than MostInMemory bytes.
std::optional<QByteArray> contentsOfFile(const OptionalPath &path);
[[nodiscard]] FileError createEmptyFile(const OptionalPath &path); // empties an existing one
// False when there is no file at the path; none is made.
bool appendToExistingFile(const OptionalPath &path, QByteArrayView bytes);
[[nodiscard]] FileError writeAtomically(const OptionalPath &path, QByteArrayView bytes);
} // namespace FileManager
