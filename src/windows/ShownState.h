#pragma once

#include <QMutex>
#include <QObject>
#include <QString>

#include <chrono>
#include <optional>

// How far a download has come.
struct DownloadPace {
    qint64 received = 0; // bytes
    qint64 expected = 0; // -1: not announced
    std::chrono::milliseconds time{}; // since it began; 0: there is none
};

// What the main window shows. Each property may be read and set in any thread, and is announced by a signal without a
// value, since a queued one could overtake a newer value; whoever hears it reads the property.
class ShownState : public QObject
{
    Q_OBJECT

public:
    std::optional<QString> currentVersion() const { return load(m_currentVersion); }
    std::optional<QString> updateVersion() const { return load(m_updateVersion); } // nothing: it could not be had
    std::optional<QString> buttonText() const { return load(m_buttonText); }
    std::optional<QString> statusStr() const { return load(m_statusStr); }
    bool isStatusFailure() const { return load(m_isStatusFailure); } // of what the status line tells
    DownloadPace downloadPace() const { return load(m_downloadPace); }
    double updateProgressbar() const { return load(m_updateProgressbar); } // a percentage, exactly as it was counted
    bool updateNotStarted() const { return load(m_updateNotStarted); }
    void setCurrentVersion(const std::optional<QString> &version);
    void setUpdateVersion(const std::optional<QString> &version);
    void setButtonText(const std::optional<QString> &text);
    void setStatusStr(const std::optional<QString> &text);
    void setFailureStr(const QString &text); // as the status
    void setDownloadPace(const DownloadPace &pace);
    void setUpdateProgressbar(double percentage);
    void setUpdateNotStarted(bool notStarted);

Q_SIGNALS:
    void currentVersionChanged();
    void updateVersionChanged();
    void buttonTextChanged();
    void statusStrChanged();
    void downloadPaceChanged();
    void updateProgressbarChanged();
    void updateNotStartedChanged();

protected:
    template<typename T> T load(const T &property) const
    {
        const QMutexLocker lock(&m_lock);
        return property;
    }
    template<typename T> void store(T &property, const T &value)
    {
        const QMutexLocker lock(&m_lock);
        property = value;
    }

private:
    void showStatus(const std::optional<QString> &text, bool isFailure);

    mutable QMutex m_lock;
    std::optional<QString> m_currentVersion;
    std::optional<QString> m_updateVersion;
    std::optional<QString> m_buttonText;
    std::optional<QString> m_statusStr;
    bool m_isStatusFailure = false;
    DownloadPace m_downloadPace;
    double m_updateProgressbar = 0;
    bool m_updateNotStarted = false;
};
