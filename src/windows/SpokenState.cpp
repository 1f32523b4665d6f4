#include "windows/SpokenState.h"

#include "controls/Announcer.h"
#include "windows/ShownState.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>

using namespace Qt::StringLiterals;

SpokenState::SpokenState(const ShownState &state, const Controls &controls, QWidget *window)
    : QObject(window), m_controls(controls), m_window(*window), m_announcer(new Announcer(window))
{
    m_tells.setSingleShot(true);
    connect(&m_tells, &QTimer::timeout, this, &SpokenState::tell);
    connect(&state, &ShownState::statusStrChanged, this, [this] { m_isStatusNew = true; });
    for (const auto changed : {&ShownState::statusStrChanged, &ShownState::buttonTextChanged,
                               &ShownState::currentVersionChanged, &ShownState::updateVersionChanged})
        connect(&state, changed, this, [this] { m_tells.start(); });
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) { keyboardMoved(now); });
    describe();
}

void SpokenState::keyboardMoved(const QWidget *now)
{
    if (!now || now->window() != &m_window)
        return;
    m_keyboardCame.start();
    m_tells.start(); // of what came while another window had the keyboard
}

// A screen reader speaks the description of what gets the keyboard: the button, or the content. It takes a moment, so
// that what changes at once is spoken with it. What changes later is announced, unless the screen reader speaks the new
// description, or the button's new title, by itself.
void SpokenState::tell()
{
    constexpr qint64 moment = 250; // milliseconds
    const bool isSpokenByItself = describe() && Announcer::newTextsAreSpoken;
    if (!m_window.isActiveWindow())
        return;
    const QWidget *keyboard = m_window.focusWidget();
    const bool isDescribed = keyboard == m_controls.mainButton || keyboard == m_controls.content;
    const bool isRead = m_keyboardCame.isValid() && m_keyboardCame.elapsed() < moment;
    if (!isDescribed || !(isRead || isSpokenByItself))
        announceNews();
    m_isStatusNew = false;
    m_title = m_controls.mainButton->text();
}

// False when the text is as before.
bool SpokenState::describe()
{
    QStringList versions;
    for (const QLabel *caption : m_controls.versionCaptions) {
        const QString version = caption->buddy()->accessibleName();
        if (!version.isEmpty())
            versions.append(caption->text() + u' ' + version);
    }
    const QString text = (m_controls.status->accessibleName() + u' ' + versions.join(u", "_s)).trimmed();
    if (text == m_controls.mainButton->accessibleDescription())
        return false; // Qt would tell of it again
    for (QWidget *described : {static_cast<QWidget *>(m_controls.mainButton), m_controls.content})
        described->setAccessibleDescription(text);
    return true;
}

void SpokenState::announceNews()
{
    QStringList texts;
    if (m_isStatusNew)
        texts.append(m_controls.status->accessibleName());
    const QString title = m_controls.mainButton->text();
    if (!Announcer::newTextsAreSpoken && title != m_title && m_controls.mainButton->hasFocus())
        texts.append(title);
    if (!texts.isEmpty())
        m_announcer->announce(texts.join(u' '));
}
