#pragma once

#include <QLabel>

// A word of caution: a sign, drawn in the colour of the text, and plain text beside it, which wraps. Takes no room
// while its text is empty.
class HintLabel : public QLabel
{
    Q_OBJECT

public:
    explicit HintLabel(QWidget *parent = nullptr);

    void setHint(const QString &text);

protected:
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    QRectF sign() const; // beside the first line
    void makeRoomForSign();
};
