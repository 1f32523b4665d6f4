#pragma once

#include <QImage>
#include <QWidget>

// A picture, scaled down to the view where it is too large, never distorted, and not up unless a largest scale says so.
// A null picture shows nothing.
class ImageView : public QWidget
{
    Q_OBJECT

public:
    explicit ImageView(QWidget *parent = nullptr);

    QImage image() const { return m_image; }
    void setImage(const QImage &image);
    void setLargestScale(int scale); // 1 unless it is set
    void setCornerRadius(int radius); // 0 unless it is set
    void setRoom(const QSize &room); // that it asks for, whatever picture it shows
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QImage m_image;
    int m_largestScale = 1;
    int m_cornerRadius = 0;
    QSize m_room;
};
