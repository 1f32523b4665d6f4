#pragma once

#include "upgrade/ProgressWindow.h"

#include <QWidget>

#include <memory>

namespace Ui
{
class InstallerDownloadWindow;
}

// A line of text over a bar. Closing it stops nothing.
class InstallerDownloadWindow : public QWidget, public ProgressWindow
{
    Q_OBJECT

public:
    InstallerDownloadWindow();
    ~InstallerDownloadWindow() override;

    void showText(const QString &text) override;
    void showProgress(double percentage) override;
    void present() override;
    void dismiss() override;

private:
    const std::unique_ptr<Ui::InstallerDownloadWindow> m_ui;
};
