#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QTimer>

class Announcer;
class QAbstractButton;
class QLabel;
class ShownState;

// Lets a screen reader speak the status, the versions and the main button's title as they change, wherever the keyboard
// is in the window.
class SpokenState : public QObject
{
    Q_OBJECT

public:
    struct Controls {
        QAbstractButton *mainButton;
        QWidget *content; // has the keyboard while the button is disabled
        QLabel *status;
        QList<QLabel *> versionCaptions; // with the versions as their buddies
    };

    // Both are borrowed and outlive it, as the window does that it belongs to.
    SpokenState(const ShownState &state, const Controls &controls, QWidget *window);

private:
    void keyboardMoved(const QWidget *now);
    void tell();
    bool describe();
    void announceNews();

    const Controls m_controls;
    QWidget &m_window;
    Announcer *const m_announcer;
    QTimer m_tells; // once for all changes of one turn of the event loop
    QElapsedTimer m_keyboardCame; // to the control where it is
    bool m_isStatusNew = false; // to the screen reader
    QString m_title; // of the button, as the screen reader knows it
};
