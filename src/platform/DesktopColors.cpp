#include "platform/DesktopColors.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace
{
const QString portal = u"org.freedesktop.portal.Desktop"_s;
const QString path = u"/org/freedesktop/portal/desktop"_s;
const QString settings = u"org.freedesktop.portal.Settings"_s;
const QString appearance = u"org.freedesktop.appearance"_s;
const QString colorScheme = u"color-scheme"_s;
constexpr uint PrefersDark = 1;

// Where no bus runs, asking for one would start it.
bool hasSessionBus()
{
    return qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS")
        || QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + u"/bus"_s);
}

// The portal's first answer is wrapped twice, its signal once.
uint schemeIn(const QVariant &value)
{
    if (value.metaType() == QMetaType::fromType<QDBusVariant>())
        return schemeIn(value.value<QDBusVariant>().variant());
    return value.toUInt();
}
} // namespace

void DesktopColors::start()
{
    if (!hasSessionBus())
        return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(portal, path, settings, u"SettingChanged"_s, this,
                SLOT(settingChanged(QString, QString, QDBusVariant)));
    QDBusMessage read = QDBusMessage::createMethodCall(portal, path, settings, u"Read"_s);
    read.setArguments({appearance, colorScheme});
    auto *call = new QDBusPendingCallWatcher(bus.asyncCall(read), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, &DesktopColors::answered);
}

void DesktopColors::answered(QDBusPendingCallWatcher *call)
{
    const QDBusPendingReply<QDBusVariant> reply = *call;
    call->deleteLater();
    if (reply.isValid())
        Q_EMIT darkPreferred(schemeIn(reply.value().variant()) == PrefersDark);
}

void DesktopColors::settingChanged(const QString &group, const QString &key, const QDBusVariant &value)
{
    if (group == appearance && key == colorScheme)
        Q_EMIT darkPreferred(schemeIn(value.variant()) == PrefersDark);
}
