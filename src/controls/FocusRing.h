#pragma once

#include <QPointer>
#include <QWidget>

// A ring around a widget, shown while the widget or something inside it has the keyboard. It lies beside the widget in
// the parent, which needs the room, so that it is drawn on the window's ground whatever the widget shows.
class FocusRing : public QWidget
{
    Q_OBJECT

public:
    // Belongs to the widget's parent, and may outlive the widget. The radius is that of the widget's corners.
    FocusRing(QWidget &around, int radius);

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void place();
    void follow(const QWidget *focused);

    const QPointer<const QWidget> m_around;
    const int m_radius;
};
