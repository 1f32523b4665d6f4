#pragma once

#include <QWidget>

// A sheet of paper with a thin edge and round corners. Its content reaches to the edge, which is drawn over it: a web
// view has corners of its own.
class Card : public QWidget
{
    Q_OBJECT

public:
    explicit Card(QWidget *parent = nullptr);

protected:
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    QWidget *const m_edge;
};
