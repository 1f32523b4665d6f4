#pragma once

#include <QAbstractButton>
#include <QImage>
#include <QString>

#include <functional>

class DemoWorld;
class QWidget;

// Eyes and hands of the tour: looks at the program's windows, works their real controls, and ends the process with 1,
// saying why, at the first thing that does not come as expected.
class TourGuide
{
public:
    explicit TourGuide(DemoWorld &world);

    // Waits for the condition.
    void expect(const QString &what, const std::function<bool()> &condition) const;
    void expectText(const QString &label, const QString &text) const; // of the main window
    void expectMainButton(const QString &title) const; // and that it can be pressed
    QImage page(const QString &pane) const; // as it is drawn at the moment
    void expectPage(const QString &pane, const QImage &otherThan = {}) const; // drawn, not only loaded

    // The visible window of that layout; waits for it.
    QWidget *window(const QString &layout) const;
    bool isOpen(const QString &layout) const;
    template<typename Control> Control *control(const QString &layout, const QString &name) const
    {
        return window(layout)->findChild<Control *>(name);
    }

    void press(const QString &layout, const QString &button) const;
    void type(const QString &layout, const QString &field, const QString &text) const; // over what it holds
    // The next alert: expects the text, takes a picture when it has a name, presses its default button.
    void answerNextAlert(const QString &text, const QString &picture) const;

    void picture(const QString &layout, const QString &name) const;
    void done(const QString &stage) const;
    [[noreturn]] void fail(const QString &what) const;

private:
    void savePicture(QWidget *of, const QString &name) const;

    DemoWorld &m_world;
};
