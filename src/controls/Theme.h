#pragma once

#include <QPalette>
#include <QString>

class QWidget;

// The product's look on top of the desktop's own style, fonts and colours, light or dark.
namespace Theme
{
using Style = QString (*)(const QPalette &);
// Dresses the widget in the style now and whenever its window's palette changes, as between light and dark. The widget
// has its place in the window already.
void follow(QWidget &widget, Style style);

QString mainWindowStyle(const QPalette &palette);
QString settingsStyle(const QPalette &palette);
QString downloadStyle(const QPalette &palette);
} // namespace Theme
