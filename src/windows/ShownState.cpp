#include "windows/ShownState.h"

void ShownState::setCurrentVersion(const std::optional<QString> &version)
{
    store(m_currentVersion, version);
    Q_EMIT currentVersionChanged();
}

void ShownState::setUpdateVersion(const std::optional<QString> &version)
{
    store(m_updateVersion, version);
    Q_EMIT updateVersionChanged();
}

void ShownState::setButtonText(const std::optional<QString> &text)
{
    store(m_buttonText, text);
    Q_EMIT buttonTextChanged();
}

void ShownState::setStatusStr(const std::optional<QString> &text)
{
    showStatus(text, false);
}

void ShownState::setFailureStr(const QString &text)
{
    showStatus(text, true);
}

void ShownState::showStatus(const std::optional<QString> &text, bool isFailure)
{
    store(m_statusStr, text);
    store(m_isStatusFailure, isFailure);
    Q_EMIT statusStrChanged();
}

void ShownState::setDownloadPace(const DownloadPace &pace)
{
    store(m_downloadPace, pace);
    Q_EMIT downloadPaceChanged();
}

void ShownState::setUpdateProgressbar(double percentage)
{
    store(m_updateProgressbar, percentage);
    Q_EMIT updateProgressbarChanged();
}

void ShownState::setUpdateNotStarted(bool notStarted)
{
    store(m_updateNotStarted, notStarted);
    Q_EMIT updateNotStartedChanged();
}
