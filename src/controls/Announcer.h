#pragma once

#include <QWidget>

// Lets a screen reader speak a text, wherever the keyboard is. Shows nothing.
class Announcer : public QWidget
{
    Q_OBJECT

public:
    // Whether a screen reader speaks a new name or description of what has the keyboard. Older versions of Qt tell it
    // that there is one, but not its text, and it stays silent.
    static constexpr bool newTextsAreSpoken = QT_VERSION >= QT_VERSION_CHECK(6, 8, 0);

    explicit Announcer(QWidget *parent);

    void announce(const QString &text);
};
