#pragma once

#include <QWidget>

#include <memory>

namespace Ui
{
class LogWindow;
}

// A read-only text that scrolls. Deletes itself when it was closed.
class LogWindow : public QWidget
{
    Q_OBJECT

public:
    LogWindow();
    ~LogWindow() override;

    void showText(const QString &text); // plain, whatever it holds

Q_SIGNALS:
    void closing();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    const std::unique_ptr<Ui::LogWindow> m_ui;
};
