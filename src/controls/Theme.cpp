#include "controls/Theme.h"

#include <QEvent>
#include <QHash>
#include <QRegularExpression>
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
    const QColor exact =
        QColor::fromRgbF(mix(from.redF(), to.redF()), mix(from.greenF(), to.greenF()), mix(from.blueF(), to.blueF()));
    return QColor(exact.rgb()); // as a style sheet has it
}

QHash<QString, QColor> colorsFor(const QPalette &palette)
{
    const bool dark = isDark(palette);
    const QColor window = palette.color(QPalette::Window);
    const QColor text = palette.color(QPalette::WindowText);
    const QColor action(dark ? u"#d9733f"_s : u"#b4492a"_s);
    return {
        {u"line"_s, mixed(window, text, 0.18F)},
        {u"muted"_s, mixed(window, text, dark ? 0.68F : 0.66F)},
        {u"faint"_s, mixed(window, text, 0.45F)},
        {u"groove"_s, mixed(window, text, 0.12F)},
        {u"action"_s, action},
        {u"on-action"_s, QColor(dark ? u"#1b100b"_s : u"#ffffff"_s)},
        {u"action-hover"_s, action.lighter(110)},
        {u"action-pressed"_s, action.darker(112)},
        {u"action-focus"_s, mixed(action, text, 0.55F)},
        {u"focus"_s, palette.color(QPalette::Highlight)},
        {u"beside-focus"_s, palette.color(QPalette::Base)},
        {u"paper"_s, QColor(Theme::paper)},
        {u"ink"_s, QColor(u"#21302f"_s)}, // on paper, as the next two
        {u"link"_s, QColor(u"#9c3d22"_s)},
        {u"selection"_s, QColor(u"#f0c48a"_s)},
    };
}

const QHash<QString, QString> sizes = {
    {u"card-radius"_s, u"6px"_s},
    {u"button-radius"_s, u"8px"_s},
    {u"focus-width"_s, u"2px"_s},
};

class Follower : public QObject
{
public:
    Follower(QWidget &widget, const QString &sheet) : QObject(&widget), m_widget(widget), m_sheet(sheet)
    {
        dress();
        widget.window()->installEventFilter(this); // a widget with a style sheet hears of no change itself
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
        const QString sheet = Theme::filled(m_sheet, m_widget.window()->palette());
        if (sheet != m_widget.styleSheet())
            m_widget.setStyleSheet(sheet);
    }

    QWidget &m_widget;
    const QString m_sheet;
};
} // namespace

QColor Theme::color(const QString &name, const QPalette &palette)
{
    return colorsFor(palette).value(name);
}

QString Theme::filled(const QString &sheet, const QPalette &palette)
{
    static const QRegularExpression name(u"@([a-z-]+)"_s);
    const QHash<QString, QColor> colors = colorsFor(palette);
    QString filled;
    qsizetype from = 0;
    for (const QRegularExpressionMatch &match : name.globalMatch(sheet)) {
        filled += sheet.sliced(from, match.capturedStart() - from);
        const QColor color = colors.value(match.captured(1));
        filled += sizes.value(match.captured(1), color.isValid() ? color.name() : match.captured());
        from = match.capturedEnd();
    }
    return filled + sheet.sliced(from);
}

void Theme::follow(QWidget &widget, const QString &sheet)
{
    new Follower(widget, sheet);
}
