#pragma once

#include <QWidget>

#include <memory>

namespace Ui
{
class SplashScreen;
}

// The borderless window that shows from the start until the main window.
class SplashScreen : public QWidget
{
    Q_OBJECT

public:
    SplashScreen();
    ~SplashScreen() override;

private:
    const std::unique_ptr<Ui::SplashScreen> m_ui;
};
