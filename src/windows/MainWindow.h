#pragma once

#include <QMainWindow>

#include <memory>

class CursorButtons;
class ImageView;
class Pane;
class ShownState;

namespace Ui
{
class MainWindow;
}

// Shows the state: its controls follow it and hold no state of their own. A press is announced by a signal.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(const ShownState &state); // borrowed; it outlives the window
    ~MainWindow() override;

    Pane *htmlView() const; // the account
    Pane *rssView() const; // the news
    ImageView *smallImage() const;
    ImageView *largeImage() const;
    CursorButtons *button1() const; // over the large banner
    CursorButtons *button2() const; // over the small one

Q_SIGNALS:
    void mainButtonPressed(const QString &title); // as the button shows it
    void bannerPressed();
    void settingsWanted();
    void changeLogWanted();
    void siteWanted();
    void aboutWanted();
    void closing(); // once more when the program's end closes the window

protected:
    void resizeEvent(QResizeEvent *event) override;
    bool focusNextPrevChild(bool next) override;
    void showEvent(QShowEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void bind();
    void enableMainButton(bool enabled);
    void connectControls();
    void scaleMainButton();
    void arrange();

    const ShownState &m_state;
    const std::unique_ptr<Ui::MainWindow> m_ui;
};
