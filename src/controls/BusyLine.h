#pragma once

#include <QWidget>

class QTimer;

// A thin line along which a light wanders: something goes on, and nobody knows for how long.
class BusyLine : public QWidget
{
    Q_OBJECT

public:
    explicit BusyLine(QWidget *parent = nullptr);
    QSize sizeHint() const override;

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QTimer *const m_timer;
    int m_step = 0;
};
