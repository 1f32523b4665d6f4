#include "controls/Announcer.h"

#include <QAccessible>
#include <QAccessibleWidget>

using namespace Qt::StringLiterals;

namespace
{
// A notification is spoken when it appears: what announces where Qt has no event for it.
QAccessibleInterface *notification(const QString &className, QObject *object)
{
    if (className != QLatin1StringView(Announcer::staticMetaObject.className()))
        return nullptr;
    return new QAccessibleWidget(static_cast<QWidget *>(object), QAccessible::Notification);
}
} // namespace

Announcer::Announcer(QWidget *parent) : QWidget(parent)
{
    QAccessible::installFactory(notification);
    hide();
}

void Announcer::announce(const QString &text)
{
    setAccessibleName(text);
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QAccessibleAnnouncementEvent event(this, text);
#else
    QAccessibleEvent event(this, QAccessible::ObjectShow);
#endif
    QAccessible::updateAccessibility(&event);
}
