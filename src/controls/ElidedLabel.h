#pragma once

#include <QLabel>

// One line of plain text, cut with an ellipsis where the room ends; the tool tip has more of it. For texts from
// outside: neither their length nor their content can change the layout.
class ElidedLabel : public QLabel
{
    Q_OBJECT
    Q_PROPERTY(QString text READ text WRITE setText)

public:
    explicit ElidedLabel(QWidget *parent = nullptr);

    QString text() const { return m_text; }
    void setText(const QString &text);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    QString shownText() const;

private:
    QString m_text;
};
