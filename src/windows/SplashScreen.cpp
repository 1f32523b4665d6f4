#include "windows/SplashScreen.h"

#include "ui_SplashScreen.h"

SplashScreen::SplashScreen()
    : QWidget(nullptr, Qt::SplashScreen | Qt::FramelessWindowHint), m_ui(std::make_unique<Ui::SplashScreen>())
{
    m_ui->setupUi(this);
    setAccessibleName(m_ui->splashScreenView->accessibleName()); // a screen reader speaks it when the window opens
}

SplashScreen::~SplashScreen() = default;
