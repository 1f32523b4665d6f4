#pragma once

#include "platform/FileManager.h"

// "download.zip" in the support folder while it arrives, and the count of what has. No failure to write is reported:
// what is made of the archive afterwards shows it.
class DownloadFile
{
public:
    void remove();
    // A response began: the file is made or emptied. The length is -1 when none was announced.
    void begin(qint64 expectedContentLength);
    // The percentage that has come with this piece, in whole steps, truncated; negative when no length was announced,
    // and 0 when it was announced as nothing. A piece without a file is dropped.
    double append(QByteArrayView piece);

    qint64 totalSize() const { return m_totalSize; }
    qint64 totalDownloaded() const { return m_totalDownloaded; }

private:
    OptionalPath m_path;
    qint64 m_totalSize = 0;
    qint64 m_totalDownloaded = 0;
};
