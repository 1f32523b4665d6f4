#pragma once

#include <QApplication>
#include <QDialog>
#include <QPointer>
#include <QTimer>

#include <functional>

// For a call that returns only when its dialog was answered: the action gets the dialog as soon as it is open. What is
// then still open is cancelled, so that a failing test ends too. Returns whether there was one, when asked later.
template<typename Dialog> class WhenOpen
{
public:
    explicit WhenOpen(const std::function<void(Dialog &)> &action)
    {
        QObject::connect(&m_look, &QTimer::timeout, &m_look, [this, action] {
            const QPointer<Dialog> dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget());
            if (!dialog)
                return;
            m_look.stop();
            m_opened = true;
            action(*dialog);
            if (dialog && dialog->isVisible())
                dialog->reject();
        });
        m_look.start(0);
    }

    bool opened() const { return m_opened; }

private:
    QTimer m_look;
    bool m_opened = false;
};
