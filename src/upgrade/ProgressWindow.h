#pragma once

#include <QString>

// The window of an installer's download, as the download sees it. Main thread.
class ProgressWindow
{
public:
    virtual ~ProgressWindow() = default;
    virtual void showText(const QString &text) = 0;
    virtual void showProgress(double percentage) = 0; // any number: empty below 0, full above 100
    virtual void present() = 0; // in the screen's middle, in front
    virtual void dismiss() = 0;
};
