#pragma once

#include <QString>

class QPalette;

// The house's style for the pages in the panes. It stands first in the page, so that the page's own styles win, and
// changes no byte of the file.
namespace PageStyle
{
// A script that dresses the page it runs in, and dresses it anew when it runs again. The sheet of the pane comes after
// the house's, with the names of Theme. In a dark desktop a page whose own colours could not be read on dark ground
// stays on light paper.
QString script(const QString &paneSheet, const QPalette &palette);
} // namespace PageStyle
