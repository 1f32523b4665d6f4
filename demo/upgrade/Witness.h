#pragma once

#include <QSet>
#include <QString>
#include <QTimer>

class QMessageBox;
class QWidget;

// Sits in a demo bundle's process: answers the upgrade question as WAYFAR_DEMO_ANSWER says, writes what it sees into
// the file WAYFAR_DEMO_LOG, a line each, with a picture beside it, and closes the main window once it has seen it.
// Without these two variables it does nothing.
class Witness
{
public:
    Witness();

private:
    void look();
    void lookAt(QWidget *window);
    void answer(QMessageBox *question);
    void tell(const QString &line, QWidget *window);

    const QString m_answer;
    const QString m_log;
    QSet<QString> m_told;
    QTimer m_timer;
};
