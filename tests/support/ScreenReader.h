#pragma once

#include "support/Rerun.h"

#include <QAccessible>
#include <QCoreApplication>
#include <QStringList>
#include <QTest>

#include <utility>

// True on a real screen while a screen reader is on, as far as programs can tell: there Qt tells of what happens.
// Elsewhere it runs the test function again on one, and fails where that fails.
inline bool isHeardByTools()
{
    using namespace Qt::StringLiterals;
    const QString switchOn = u"gdbus call --session --dest org.a11y.Bus --object-path /org/a11y/bus --method "
                             "org.freedesktop.DBus.Properties.Set org.a11y.Status ScreenReaderEnabled '<true>' && "
                             "exec \"$@\""_s;
    if (Rerun::isRerun()) {
        if (!QTest::qWaitFor([] { return QAccessible::isActive(); }, 20000))
            qFatal("no screen reader is on");
        return true;
    }
    Rerun::verifyPasses({u"xvfb-run"_s, u"-a"_s, u"dbus-run-session"_s, u"--"_s, u"sh"_s, u"-c"_s, switchOn, u"sh"_s},
                        {{u"QT_QPA_PLATFORM"_s, u"xcb"_s}});
    return false;
}

// Listens as a screen reader does: it speaks the name and the description of what gets the keyboard and, where Qt sends
// them, a new name or description of it; a notification that appears; and what is announced. Only one at a time.
class ScreenReader
{
public:
    ScreenReader()
    {
        s_listening = this;
        m_before = QAccessible::installUpdateHandler(&ScreenReader::hear);
        QAccessible::setActive(true);
    }
    ~ScreenReader()
    {
        QAccessible::setActive(false);
        QAccessible::installUpdateHandler(m_before);
        s_listening = nullptr;
    }
    Q_DISABLE_COPY_MOVE(ScreenReader)

    // What was spoken since the last call; the keyboard's place as it reads now, since a reader gets to it late.
    QStringList spoken()
    {
        QCoreApplication::processEvents();
        if (m_keyboardCame)
            m_spoken.prepend(wordsOf(m_keyboard));
        m_keyboardCame = false;
        return std::exchange(m_spoken, {});
    }
    // The names of all that got the keyboard, in order.
    QStringList visited() const { return m_visited; }

private:
    static QString wordsOf(QAccessible::Id id)
    {
        const QAccessibleInterface *at = QAccessible::accessibleInterface(id);
        if (!at || !at->isValid())
            return {};
        return QString(at->text(QAccessible::Name) + u'\n' + at->text(QAccessible::Description)).trimmed();
    }

    static void hear(QAccessibleEvent *event)
    {
        if (s_listening && event->accessibleInterface())
            s_listening->take(*event);
    }

    void take(const QAccessibleEvent &event)
    {
        const QAccessibleInterface *source = event.accessibleInterface();
        if (event.type() == QAccessible::Focus) {
            m_keyboard = event.uniqueId();
            m_keyboardCame = true;
            m_visited.append(source->text(QAccessible::Name));
        } else if (event.type() == QAccessible::ObjectShow && source->role() == QAccessible::Notification) {
            m_spoken.append(source->text(QAccessible::Name));
        }
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
        // What changes before the keyboard's place is spoken is spoken with it.
        const bool isNews = event.uniqueId() == m_keyboard && !m_keyboardCame;
        if (event.type() == QAccessible::DescriptionChanged && isNews)
            m_spoken.append(source->text(QAccessible::Description));
        else if (event.type() == QAccessible::NameChanged && isNews)
            m_spoken.append(source->text(QAccessible::Name));
        else if (event.type() == QAccessible::Announcement)
            m_spoken.append(static_cast<const QAccessibleAnnouncementEvent &>(event).message());
#endif
    }

    static inline ScreenReader *s_listening = nullptr;
    QAccessible::UpdateHandler m_before = nullptr;
    QAccessible::Id m_keyboard = 0;
    bool m_keyboardCame = false;
    QStringList m_spoken;
    QStringList m_visited;
};
