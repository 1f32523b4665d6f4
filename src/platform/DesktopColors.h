#pragma once

#include <QObject>

class QDBusVariant;
class QDBusPendingCallWatcher;

// Whether the desktop wants windows light or dark, as the settings portal tells it (org.freedesktop.appearance,
// color-scheme), now and at every change. Qt asks the portal itself from 6.5 on, and not on every desktop. Main thread.
class DesktopColors : public QObject
{
    Q_OBJECT

public:
    // Asks; the answer comes from the event loop. Without a session bus or a portal there is none.
    void start();

Q_SIGNALS:
    void darkPreferred(bool preferred);

private Q_SLOTS:
    void settingChanged(const QString &group, const QString &key, const QDBusVariant &value);

private:
    void answered(QDBusPendingCallWatcher *call);
};
