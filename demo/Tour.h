#pragma once

#include <QObject>
#include <QString>

#include <functional>

class DemoWorld;
class QAbstractButton;
class QWidget;

// Plays the program by its real controls, as a player would, and says of every stage what it saw. Made after the
// application, before its event loop.
class Tour : public QObject
{
    Q_OBJECT

public:
    explicit Tour(DemoWorld &world);

    // The exit status of the whole: that of the program when every stage was as expected and the last one reached.
    int verdict(int exitStatus) const;

private:
    void play();
    void startUp();
    void login();
    void update();
    void launch();

    // Ends the tour when the condition does not come true in time.
    void expect(const QString &what, const std::function<bool()> &condition);
    void done(const QString &stage);
    void savePicture(QWidget *window, const QString &name);

    DemoWorld &m_world;
    bool m_finished = false;
};
