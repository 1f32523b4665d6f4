#pragma once

#include <QColor>
#include <QPalette>
#include <QString>

#include <functional>

class QWidget;

// The product's look on top of the desktop's own style, fonts and colours, light or dark: colours and sizes by name.
// Each window writes its own style sheet with these names in it.
namespace Theme
{
constexpr int cardRadius = 6; // of cards and banners
constexpr int buttonRadius = 8;

// Of the window: "line", "muted", "faint", "groove", "action", "on-action", "action-hover", "action-pressed", "focus",
// "failure", "warning". Of the pages' ground: "paper", "ink", "page-muted", "link", "selection", "thumb". Not valid for
// another name. Texts have a contrast of at least 4.5 with their ground; the focus, the bar and what is disabled of at
// least 3.
QColor color(const QString &name, const QPalette &palette);
// From 1 to 21, as WCAG 2 counts it.
double contrast(const QColor &one, const QColor &other);
// The sheet with every "@NAME" of these replaced, a size "card-radius" or "button-radius", or the "scheme": "light" or
// "dark".
QString filled(const QString &sheet, const QPalette &palette);
// The palette for pages that can't be read on dark ground.
QPalette lightPalette();
// Calls it now and whenever the look of the widget's window changes: its palette, as between light and dark, or its
// font. The widget has its place in the window already.
void follow(QWidget &widget, const std::function<void(const QPalette &)> &dress);
// Dresses the widget in the sheet.
void follow(QWidget &widget, const QString &sheet);
// For desktops whose choice the toolkit does not know: a dark palette where the toolkit's own is light, and back.
void setDarkPreferred(bool preferred);
} // namespace Theme
