#pragma once

#include "platform/FileManager.h"

#include <cerrno>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

// What the file operations share of POSIX. Whatever fails leaves its reason in errno.
namespace PosixFile
{
FileError errorOf(int number, const FilePath &path); // an errno as the callers' code; 0 is none
FileError lastError(const FilePath &path);

std::optional<struct stat> statusOf(const FilePath &path); // of a link itself
bool writeAll(int descriptor, QByteArrayView bytes);

// To open a FIFO is to wait for its other end: hence O_NONBLOCK wherever one may stand.
struct Descriptor {
    explicit Descriptor(int opened) : number(opened) { }
    ~Descriptor() { close(); }
    Q_DISABLE_COPY_MOVE(Descriptor)

    // False, with the reason in errno, when it fails: some file systems notice only then that bytes have no room.
    bool close()
    {
        const int opened = std::exchange(number, -1);
        return opened < 0 || ::close(opened) == 0 || errno == EINTR; // interrupted, it is closed all the same
    }

    int number;
};

using Folder = std::unique_ptr<DIR, int (*)(DIR *)>;
Folder openFolder(const FilePath &path);

struct Entry {
    FilePath name;
    unsigned char type; // DT_DIR and its like, as readdir(3) has them
};
struct Listing {
    std::vector<Entry> entries; // all but "." and ".."
    int error = 0; // why the folder could not be read to its end
};
Listing entriesIn(const Folder &folder);
} // namespace PosixFile
