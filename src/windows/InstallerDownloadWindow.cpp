#include "windows/InstallerDownloadWindow.h"

#include "ui_InstallerDownloadWindow.h"

#include "controls/Theme.h"
#include "controls/WindowPlacement.h"
#include "resources/Pictures.h"

#include <QIcon>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
const QString sheet = uR"(
QProgressBar { background: @groove; border: none; }
QProgressBar::chunk { background: @action; }
)"_s;
} // namespace

InstallerDownloadWindow::InstallerDownloadWindow() : m_ui(std::make_unique<Ui::InstallerDownloadWindow>())
{
    m_ui->setupUi(this);
    Theme::follow(*this, sheet);
    m_ui->iconLabel->setPixmap(Pictures::icon().pixmap(48));
}

InstallerDownloadWindow::~InstallerDownloadWindow() = default;

void InstallerDownloadWindow::showText(const QString &text)
{
    m_ui->downloadLabel->setText(text);
    setAccessibleName(m_ui->downloadLabel->accessibleName()); // a screen reader speaks it when the window opens
}

void InstallerDownloadWindow::showProgress(double percentage)
{
    m_ui->progressBar->setValue(static_cast<int>(std::clamp(percentage, 0.0, 100.0)));
}

void InstallerDownloadWindow::present()
{
    WindowPlacement::center(*this);
    WindowPlacement::makeKeyAndOrderFront(*this);
}

void InstallerDownloadWindow::dismiss()
{
    close();
}
