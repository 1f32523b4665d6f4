#include "windows/SplashScreen.h"

#include "ui_SplashScreen.h"

SplashScreen::SplashScreen()
    : QWidget(nullptr, Qt::SplashScreen | Qt::FramelessWindowHint), m_ui(std::make_unique<Ui::SplashScreen>())
{
    m_ui->setupUi(this);
}

SplashScreen::~SplashScreen() = default;
