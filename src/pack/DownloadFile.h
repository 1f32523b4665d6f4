#pragma once

#include "platform/FileManager.h"

// The downloaded archive while it arrives, and the count of its bytes. A failure to write is not reported: the
// installation that follows shows it.
class DownloadFile
{
public:
    void remove();
    // A response began: the file is made or emptied. The length is -1 when none was announced.
    void begin(qint64 expectedContentLength);
    // The percentage after this piece, in whole steps, truncated; negative when no length was announced, and 0 when a
    // length of zero was. Without a file the piece is lost.
    double append(QByteArrayView piece);

    qint64 totalSize() const { return m_totalSize; }
    qint64 totalDownloaded() const { return m_totalDownloaded; }

private:
    OptionalPath m_path;
    qint64 m_totalSize = 0;
    qint64 m_totalDownloaded = 0;
};
