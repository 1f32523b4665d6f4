#include "pack/DownloadFile.h"

#include "places/SupportFolder.h"

void DownloadFile::remove()
{
    (void)FileManager::removeItem(SupportFolder::download());
}

void DownloadFile::begin(qint64 expectedContentLength)
{
    m_totalSize = expectedContentLength;
    m_totalDownloaded = 0;
    m_path = SupportFolder::download(); // looked up once: every look-up may log that there is no folder
    (void)FileManager::createEmptyFile(m_path);
}

double DownloadFile::append(QByteArrayView piece)
{
    m_totalDownloaded += piece.size();
    FileManager::appendToExistingFile(m_path, piece);
    const qint64 wholePercent = m_totalSize == 0 ? 0 : m_totalDownloaded * 100 / m_totalSize;
    return static_cast<double>(wholePercent);
}
