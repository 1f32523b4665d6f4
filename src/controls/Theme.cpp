#include "controls/Theme.h"

#include <QColor>
#include <QEvent>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace
{
bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness() < 128;
}

QColor mixed(const QColor &from, const QColor &to, float part)
{
    const auto mix = [part](float a, float b) { return a + (b - a) * part; };
    return QColor::fromRgbF(mix(from.redF(), to.redF()), mix(from.greenF(), to.greenF()),
                            mix(from.blueF(), to.blueF()));
}

QColor actionColor(const QPalette &palette)
{
    return QColor(isDark(palette) ? u"#d9733f"_s : u"#b4492a"_s);
}

QColor grooveColor(const QPalette &palette)
{
    return mixed(palette.color(QPalette::Window), palette.color(QPalette::WindowText), 0.12F);
}

class Follower : public QObject
{
public:
    Follower(QWidget &widget, Theme::Style style) : QObject(&widget), m_widget(widget), m_style(style)
    {
        dress();
        widget.window()->installEventFilter(this); // a style sheet keeps the desktop's changes from a widget in it
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::PaletteChange)
            dress();
        return QObject::eventFilter(watched, event);
    }

private:
    // A new style sheet is itself a change of the palette.
    void dress()
    {
        const QString sheet = m_style(m_widget.window()->palette());
        if (sheet != m_widget.styleSheet())
            m_widget.setStyleSheet(sheet);
    }

    QWidget &m_widget;
    const Theme::Style m_style;
};
} // namespace

void Theme::follow(QWidget &widget, Style style)
{
    new Follower(widget, style);
}

QString Theme::mainWindowStyle(const QPalette &palette)
{
    const bool dark = isDark(palette);
    const QColor window = palette.color(QPalette::Window);
    const QColor text = palette.color(QPalette::WindowText);
    const QColor line = mixed(window, text, 0.18F);
    const QColor groove = grooveColor(palette);
    const QColor muted = mixed(window, text, dark ? 0.68F : 0.66F);
    const QColor faint = mixed(window, text, 0.45F);
    const QColor action = actionColor(palette);
    const QColor onAction(dark ? u"#1b100b"_s : u"#ffffff"_s);

    return uR"(
QFrame#accountCard, QFrame#newsCard { background: #fffdf8; border: 1px solid %1; border-radius: 6px; }
QLabel[role="heading"] { font-weight: 600; }
QLabel[role="caption"] { color: %2; }
ElidedLabel[role="version"] { font-weight: 600; }
ElidedLabel#statusLabel { color: %2; }
CursorButtons { background: transparent; border: 2px solid transparent; }
CursorButtons:focus { border-color: %10; outline: 2px solid %11; }
WayfarProgressIndicator { background: %3; border: none; }
WayfarProgressIndicator::chunk { background: %4; }
QPushButton#mainButton { background: %4; color: %5; border: 2px solid %4; border-radius: 8px; padding: 0 28px;
    font-weight: 600; }
QPushButton#mainButton:hover { background: %6; border-color: %6; }
QPushButton#mainButton:pressed { background: %7; border-color: %7; }
QPushButton#mainButton:focus { border-color: %8; }
QPushButton#mainButton:disabled { background: %3; border-color: %3; color: %9; }
)"_s.arg(line.name(), muted.name(), groove.name(), action.name(), onAction.name(), action.lighter(110).name(),
         action.darker(112).name(), mixed(action, text, 0.55F).name(), faint.name(),
         palette.color(QPalette::Highlight).name(), palette.color(QPalette::Base).name());
}

QString Theme::settingsStyle(const QPalette &palette)
{
    const QColor window = palette.color(QPalette::Window);
    const QColor muted = mixed(window, palette.color(QPalette::WindowText), isDark(palette) ? 0.68F : 0.66F);
    return uR"(
QLabel[role="heading"] { font-weight: 600; }
ElidedLabel[role="path"] { color: %1; }
)"_s.arg(muted.name());
}

QString Theme::downloadStyle(const QPalette &palette)
{
    return uR"(
QProgressBar { background: %1; border: none; }
QProgressBar::chunk { background: %2; }
)"_s.arg(grooveColor(palette).name(), actionColor(palette).name());
}
