#pragma once

#include <QPlainTextEdit>

// A read-only text of any length that scrolls, and can be selected and copied as it stands. Qt lays out a line as a
// whole, which takes a minute for a line of a megabyte: on the screen alone, longer ones are cut into several.
class LongTextView : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit LongTextView(QWidget *parent = nullptr);

    void showText(const QString &text); // plain, whatever it holds

protected:
    QMimeData *createMimeDataFromSelection() const override; // without the cuts
};
