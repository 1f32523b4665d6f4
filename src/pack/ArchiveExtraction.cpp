#include "pack/ArchiveExtraction.h"

#include "platform/ShellCommand.h"
#include "platform/Text.h"

void ArchiveExtraction::extract(const OptionalPath &archive, const OptionalPath &folder)
{
    if (!archive || !folder)
        return;
    ShellCommand::run(
        Text::filled("unzip -o \"%@\" -d \"%@\"",
                     {QByteArray::fromStdString(archive->native()), QByteArray::fromStdString(folder->native())}));
}
