#pragma once

#include <QProgressBar>

class QStyleOptionProgressBar;

// A progress bar that is drawn at a fixed height, whatever its frame; the frame shows the upper part of the drawing
// (docs/kept-on-purpose.md).
class WayfarProgressIndicator : public QProgressBar
{
    Q_OBJECT

public:
    static constexpr int DrawnHeight = 98;

    using QProgressBar::QProgressBar;

    // Below 0 busy, above 100 full; QProgressBar would drop such a value and keep the old one.
    void setPercentage(double value);

protected:
    void paintEvent(QPaintEvent *event) override;
    // The base class's drawing: everything the style does for the option.
    virtual void drawBase(const QStyleOptionProgressBar &option);
};
