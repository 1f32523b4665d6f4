#pragma once

#include <QWidget>

#include <memory>

namespace Ui
{
class InstallerDownloadWindow;
}

// A line of text over a bar. Closing it stops nothing.
class InstallerDownloadWindow : public QWidget
{
    Q_OBJECT

public:
    InstallerDownloadWindow();
    ~InstallerDownloadWindow() override;

    void showText(const QString &text);
    void showProgress(double percentage); // empty below 0, full above 100

private:
    const std::unique_ptr<Ui::InstallerDownloadWindow> m_ui;
};
