#pragma once

#include "controls/ElidedLabel.h"

// The outcome of what the player did last, on as many lines as its room holds, at the room's lower end. A failure has a
// sign before it and a colour of its own.
class StatusLine : public ElidedLabel
{
    Q_OBJECT

public:
    explicit StatusLine(QWidget *parent = nullptr);

    bool isFailure() const { return m_isFailure; }
    void setFailure(bool failure);

    QStringList lines() const; // as they are drawn; the last ends with an ellipsis when there was no room for more
    // Room for the longest of the program's own texts at that width, whatever the text is: so nothing moves.
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    int indent() const;

    bool m_isFailure = false;
};
