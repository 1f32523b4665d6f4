#pragma once

#include <QMainWindow>

#include <memory>

class AppDelegate;
class CursorButtons;
class ImageView;
class Pane;

namespace Ui
{
class MainWindow;
}

// The view of the delegate's properties: its controls follow them, hold no state of their own, and hand every press on.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(AppDelegate &delegate); // which owns it
    ~MainWindow() override;

    Pane *htmlView() const;
    Pane *rssView() const;
    ImageView *smallImage() const;
    ImageView *largeImage() const;
    CursorButtons *button1() const;
    CursorButtons *button2() const;

protected:
    void showEvent(QShowEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void bind();
    void enableMainButton(bool enabled);
    void connectActions();

    AppDelegate &m_delegate;
    const std::unique_ptr<Ui::MainWindow> m_ui;
};
