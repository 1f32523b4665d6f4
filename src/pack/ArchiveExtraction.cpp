#include "pack/ArchiveExtraction.h"

#include "platform/ShellCommand.h"
#include "platform/Text.h"

namespace
{
void extract(const OptionalPath &archive, const OptionalPath &folder)
{
    if (!archive || !folder)
        return;
    (void)FileManager::createDirectory(folder, false); // it may be there already
    ShellCommand::run(
        Text::filled("unzip -o \"%@\" -d \"%@\"",
                     {QByteArray::fromStdString(archive->native()), QByteArray::fromStdString(folder->native())}));
    FileManager::makeTreeReadable(folder);
}
} // namespace

void ArchiveExtraction::unpackAfresh(const OptionalPath &archive, const OptionalPath &folder)
{
    FileManager::makeTreeWritable(folder); // the last archive may have brought read-only folders
    (void)FileManager::removeItem(folder);
    extract(archive, folder);
}

void ArchiveExtraction::unpackOver(const OptionalPath &archive, const OptionalPath &folder)
{
    FileManager::makeTreeWritable(folder); // the last archive may have brought read-only folders
    extract(archive, folder);
    FileManager::makeTreeWritable(folder);
}
