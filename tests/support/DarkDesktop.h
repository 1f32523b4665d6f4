#pragma once

#include <QApplication>
#include <QPalette>
#include <QTest>
#include <QWidget>

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

// The widget's style sheet is whole, by day and by night.
inline void verifyFollowsTheDesktop(const QWidget &dressed)
{
    const auto verifyWhole = [&dressed] {
        QVERIFY(!dressed.styleSheet().contains(u'@'));
        QCOMPARE(dressed.styleSheet().count(u'{'), dressed.styleSheet().count(u'}'));
    };
    const QString light = dressed.styleSheet();
    verifyWhole();
    {
        const DarkDesktop dark;
        QTRY_VERIFY(dressed.styleSheet() != light);
        verifyWhole();
    }
    QTRY_COMPARE(dressed.styleSheet(), light);
}
