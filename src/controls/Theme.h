#pragma once

#include <QPalette>
#include <QString>

class QWidget;

// The product's look on top of the desktop's own style, fonts and colours, light or dark.
namespace Theme
{
using Style = QString (*)(const QPalette &);
// Dresses the widget in the style now and whenever its palette changes, as between light and dark.
void follow(QWidget &widget, Style style);

QString mainWindowStyle(const QPalette &palette);
QString settingsStyle(const QPalette &palette);
QString downloadStyle(const QPalette &palette);
} // namespace Theme
