#pragma once

#include <QApplication>
#include <QPalette>

// While it lives, the desktop's colours are dark ones.
class DarkDesktop
{
public:
    DarkDesktop() { QApplication::setPalette(QPalette(QColor(0x2b, 0x2b, 0x2b))); }
    ~DarkDesktop() { QApplication::setPalette(m_before); }
    Q_DISABLE_COPY_MOVE(DarkDesktop)

private:
    const QPalette m_before = QApplication::palette();
};
