#pragma once

#include <QDialog>

#include <memory>

class UserDefaults;
class WayfarNSButton;

namespace Ui
{
class SettingsWindow;
}

// Edits the preferences directly: every change of a control is stored at once. What is wrong with a chosen path is told
// below it, and forbids nothing. What the buttons do belongs to the window's owner. Escape is Cancel; the title bar's
// close button only closes. Deletes itself when it was closed.
class SettingsWindow : public QDialog
{
    Q_OBJECT

public:
    SettingsWindow(UserDefaults &defaults, QWidget *parent); // defaults are borrowed
    ~SettingsWindow() override;

    // Shows what is stored, after somebody else changed it.
    void showStored();

Q_SIGNALS:
    void browsePressed(QObject *sender);
    void detectPressed();
    void repairPressed();
    void okayPressed();
    void cancelPressed();
    void closing();

protected:
    bool event(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void accept() override;
    void reject() override;

private:
    void showPaths(); // and what is to be said of them
    void makeRoomForWrappedText();
    void bindControls();
    void connectButtons();
    void showPassword(bool shown);

    UserDefaults &m_defaults;
    const std::unique_ptr<Ui::SettingsWindow> m_ui;
};
