#pragma once

#include <QWidget>

// The splash picture, tiled over the view and never scaled.
class SplashScreenView : public QWidget
{
    Q_OBJECT

public:
    using QWidget::QWidget;
    QSize sizeHint() const override; // one tile

protected:
    void paintEvent(QPaintEvent *event) override;
};
