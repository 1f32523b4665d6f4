#pragma once

#include "demo/TourGuide.h"

#include <QObject>

class DemoWorld;

// Plays a player's two evenings with the program, one line a stage: on the first everything is tried, on the second the
// game starts by itself.
class Tour : public QObject
{
    Q_OBJECT

public:
    explicit Tour(DemoWorld &world);

    // Each is played from the program's event loop, once that runs.
    void playFirstEvening();
    void playSecondEvening();

    // After the program's end, for each evening.
    void expectGoodEnd(int exitStatus);

private:
    void startUp();
    void mainWindow();
    void update(const QString &picture);
    void settings();
    void repair();
    void changeLog();
    void play();

    DemoWorld &m_world;
    const TourGuide m_guide;
    bool m_evening = false; // reached its end
};
