#include "controls/Theme.h"

#include <QApplication>
#include <QEvent>
#include <QHash>
#include <QRegularExpression>
#include <QWidget>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace
{
bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness() < 128;
}

// Every role of it, since two colours alone leave the links and the bright texts for light ground.
QPalette darkPalette()
{
    QPalette palette(QColor(u"#3a3f40"_s), QColor(u"#25292a"_s));
    palette.setColor(QPalette::Base, QColor(u"#1b1e1f"_s));
    palette.setColor(QPalette::AlternateBase, QColor(u"#222627"_s));
    palette.setColor(QPalette::ToolTipBase, QColor(u"#2f3435"_s));
    palette.setColor(QPalette::ToolTipText, QColor(u"#e8e3d8"_s));
    palette.setColor(QPalette::Link, QColor(u"#f0a680"_s));
    palette.setColor(QPalette::Highlight, QColor(u"#2f7fb8"_s));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(u"#8b9290"_s));
    return palette;
}

QColor mixed(const QColor &from, const QColor &to, float part)
{
    const auto mix = [part](float a, float b) { return a + (b - a) * part; };
    const QColor exact =
        QColor::fromRgbF(mix(from.redF(), to.redF()), mix(from.greenF(), to.greenF()), mix(from.blueF(), to.blueF()));
    return QColor(exact.rgb()); // as a style sheet has it
}

// Moved towards the text's colour until it is seen.
QColor visible(const QColor &wanted, const QColor &ground, const QColor &text, double leastContrast)
{
    QColor color(wanted.rgb());
    for (float part = 0.1F; Theme::contrast(color, ground) < leastContrast && part < 1; part += 0.1F)
        color = mixed(wanted, text, part);
    return color;
}

constexpr double Readable = 4.5;
constexpr double Visible = 3;

QHash<QString, QColor> windowColors(const QPalette &palette)
{
    const bool dark = isDark(palette);
    const QColor window = palette.color(QPalette::Window);
    const QColor text = palette.color(QPalette::WindowText);
    const QColor action(dark ? u"#d9733f"_s : u"#b4492a"_s);
    const QColor groove = mixed(window, text, dark ? 0.06F : 0.12F);
    return {
        {u"line"_s, mixed(window, text, 0.18F)},
        {u"muted"_s, visible(mixed(window, text, 0.66F), window, text, Readable)},
        {u"groove"_s, groove},
        {u"faint"_s, visible(mixed(window, text, 0.45F), groove, text, Visible)},
        {u"action"_s, action},
        {u"on-action"_s, QColor(dark ? u"#1b100b"_s : u"#ffffff"_s)},
        {u"action-hover"_s, action.lighter(dark ? 110 : 106)},
        {u"action-pressed"_s, action.darker(112)},
        {u"focus"_s, visible(palette.color(QPalette::Highlight), window, text, Visible)},
        {u"failure"_s, visible(QColor(dark ? u"#ff9a8a"_s : u"#a8261a"_s), window, text, Readable)},
        {u"warning"_s, visible(QColor(dark ? u"#e8b45a"_s : u"#855400"_s), window, text, Readable)},
    };
}

QHash<QString, QColor> pageColors(bool dark)
{
    if (dark) {
        return {{u"paper"_s, u"#1d2121"_s}, {u"ink"_s, u"#e8e3d8"_s},       {u"page-muted"_s, u"#a9a294"_s},
                {u"link"_s, u"#f0a680"_s},  {u"selection"_s, u"#6b4526"_s}, {u"thumb"_s, u"#737a76"_s}};
    }
    return {{u"paper"_s, u"#fffdf8"_s}, {u"ink"_s, u"#21302f"_s},       {u"page-muted"_s, u"#6b665c"_s},
            {u"link"_s, u"#9c3d22"_s},  {u"selection"_s, u"#f0c48a"_s}, {u"thumb"_s, u"#8f897b"_s}};
}

QHash<QString, QColor> colorsFor(const QPalette &palette)
{
    QHash<QString, QColor> colors = windowColors(palette);
    colors.insert(pageColors(isDark(palette)));
    return colors;
}

QHash<QString, QString> wordsFor(const QPalette &palette)
{
    return {{u"card-radius"_s, u"%1px"_s.arg(Theme::cardRadius)},
            {u"button-radius"_s, u"%1px"_s.arg(Theme::buttonRadius)},
            {u"scheme"_s, isDark(palette) ? u"dark"_s : u"light"_s}};
}

class Follower : public QObject
{
public:
    Follower(QWidget &widget, const std::function<void(const QPalette &)> &dress)
        : QObject(&widget), m_window(*widget.window()), m_dress(dress)
    {
        m_dress(m_window.palette());
        m_window.installEventFilter(this); // a widget with a style sheet hears of no change itself
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange)
            m_dress(m_window.palette());
        return QObject::eventFilter(watched, event);
    }

private:
    QWidget &m_window;
    const std::function<void(const QPalette &)> m_dress;
};

double luminance(const QColor &color)
{
    const auto linear = [](float part) {
        return part <= 0.04045F ? double(part) / 12.92 : std::pow((double(part) + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}
} // namespace

double Theme::contrast(const QColor &one, const QColor &other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor Theme::color(const QString &name, const QPalette &palette)
{
    return colorsFor(palette).value(name);
}

QString Theme::filled(const QString &sheet, const QPalette &palette)
{
    static const QRegularExpression name(u"@([a-z-]+)"_s);
    const QHash<QString, QColor> colors = colorsFor(palette);
    const QHash<QString, QString> words = wordsFor(palette);
    QString filled;
    qsizetype from = 0;
    for (const QRegularExpressionMatch &match : name.globalMatch(sheet)) {
        filled += sheet.sliced(from, match.capturedStart() - from);
        const QColor color = colors.value(match.captured(1));
        filled += words.value(match.captured(1), color.isValid() ? color.name() : match.captured());
        from = match.capturedEnd();
    }
    return filled + sheet.sliced(from);
}

QPalette Theme::lightPalette()
{
    return QPalette(QColor(u"#efefef"_s));
}

void Theme::follow(QWidget &widget, const std::function<void(const QPalette &)> &dress)
{
    new Follower(widget, dress);
}

// A new style sheet is itself a change of the palette. What has one keeps the font that it got it with.
void Theme::follow(QWidget &widget, const QString &sheet)
{
    follow(widget, [&widget, sheet, font = QApplication::font()](const QPalette &palette) mutable {
        const QString text = filled(sheet, palette);
        if (font != QApplication::font())
            widget.setStyleSheet(QString());
        font = QApplication::font();
        if (text != widget.styleSheet())
            widget.setStyleSheet(text);
    });
}

void Theme::setDarkPreferred(bool preferred)
{
    static bool isOurs = false;
    if (preferred && !isDark(QApplication::palette())) {
        QApplication::setPalette(darkPalette());
        isOurs = true;
    } else if (!preferred && isOurs) {
        QApplication::setPalette(QPalette());
        isOurs = false;
    }
}
