#include "upgrade/InstallerDownloadWindow.h"

#include "controls/Theme.h"
#include "platform/Bundle.h"
#include "ui_InstallerDownloadWindow.h"

#include <QIcon>

#include <algorithm>

InstallerDownloadWindow::InstallerDownloadWindow() : m_ui(std::make_unique<Ui::InstallerDownloadWindow>())
{
    m_ui->setupUi(this);
    Theme::follow(*this, Theme::downloadStyle);
    m_ui->iconLabel->setPixmap(Bundle::icon().pixmap(48));
}

InstallerDownloadWindow::~InstallerDownloadWindow() = default;

void InstallerDownloadWindow::showText(const QString &text)
{
    m_ui->downloadLabel->setText(text);
}

void InstallerDownloadWindow::showProgress(double percentage)
{
    m_ui->progressBar->setValue(static_cast<int>(std::clamp(percentage, 0.0, 100.0)));
}
