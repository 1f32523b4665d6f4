#pragma once

#include <QImage>
#include <QWidget>

// A picture, scaled down to the view where it is too large, never up and never distorted. A null picture shows nothing.
class ImageView : public QWidget
{
    Q_OBJECT

public:
    explicit ImageView(QWidget *parent = nullptr);

    QImage image() const { return m_image; }
    void setImage(const QImage &image);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QImage m_image;
};
