#pragma once

#include "demo/TourGuide.h"

#include <QObject>
#include <QSize>

class DemoWorld;

// How the windows are to look in one series of pictures.
struct Look {
    QString folder; // for the pictures
    bool dark = false;
    bool longTexts = false;
    bool firstEvening = false; // nothing is set yet
    int points = 0; // of the system's font; 0: as it is
    QSize size; // of the main window; none: as it opens
};

// Opens every window of the program and takes its picture, to be looked through by whoever changed one.
class Pictures : public QObject
{
    Q_OBJECT

public:
    // Before the program is made, since it changes what the program finds.
    Pictures(DemoWorld &world, const Look &look);

    void take(); // from the program's event loop, once that runs; ends the program

private:
    void startUp();
    void mainWindow();
    void update();
    void failure();
    void settings();
    void otherWindows();
    QList<QWidget *> windowsFromBelow() const;
    void picture(const QString &name) const; // of all that is on the screen
    // Takes the picture of the dialog that the press opens, and closes it.
    void dialog(const QString &layout, const QString &button, const QString &name);

    DemoWorld &m_world;
    const Look m_look;
    const TourGuide m_guide;
};
