#pragma once

#include <QPalette>
#include <QString>

// The product's look on top of the desktop's own style, fonts and colours, light or dark.
namespace Theme
{
QString mainWindowStyle(const QPalette &palette);
QString settingsStyle(const QPalette &palette);
QString downloadStyle(const QPalette &palette);
} // namespace Theme
