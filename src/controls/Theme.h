#pragma once

#include <QColor>
#include <QPalette>
#include <QString>

class QWidget;

// The product's look on top of the desktop's own style, fonts and colours, light or dark: colours and sizes by name.
// Each window writes its own style sheet with these names in it.
namespace Theme
{
constexpr QRgb paper = 0xfffffdf8; // the ground of the pages, light in a dark desktop too

// "line", "muted", "faint", "groove", "action", "on-action", "action-hover", "action-pressed", "action-focus", "focus",
// "beside-focus", "paper", "ink", "link", "selection". Not valid for another name.
QColor color(const QString &name, const QPalette &palette);
// The sheet with every "@NAME" of these replaced: a colour, or one of the sizes "card-radius", "button-radius",
// "focus-width".
QString filled(const QString &sheet, const QPalette &palette);
// Dresses the widget in the sheet now and whenever its window's palette changes, as between light and dark. The widget
// has its place in the window already.
void follow(QWidget &widget, const QString &sheet);
} // namespace Theme
