#include "pack/DownloadFile.h"

#include "settings/Utility.h"

OptionalPath DownloadFile::path()
{
    return pathIn(Utility::WayfarInstallerFolder(), u"/download.zip");
}

void DownloadFile::remove()
{
    (void)FileManager::removeItem(path());
}

void DownloadFile::begin(qint64 expectedContentLength)
{
    m_totalSize = expectedContentLength;
    m_totalDownloaded = 0;
    (void)FileManager::createEmptyFile(path());
}

double DownloadFile::append(QByteArrayView piece)
{
    m_totalDownloaded += piece.size();
    FileManager::appendToExistingFile(path(), piece);
    return m_totalSize == 0 ? 0 : static_cast<double>(m_totalDownloaded * 100 / m_totalSize);
}
