#include "controls/LongTextView.h"

#include <QMimeData>
#include <QTextBlock>
#include <QTextCursor>

#include <algorithm>

namespace
{
constexpr qsizetype LongestPiece = 2000;
constexpr int GoesOn = 1; // a block's state: the line goes on in the next block

struct Pieces {
    QString text;
    QList<int> goingOn; // the numbers of these blocks
};

Pieces piecesOf(const QString &text)
{
    Pieces pieces;
    int block = 0;
    for (const QStringView line : QStringView(text).tokenize(u'\n')) {
        qsizetype from = 0;
        for (; line.size() - from > LongestPiece; from += LongestPiece) {
            pieces.text += line.sliced(from, LongestPiece);
            pieces.text += u'\n';
            pieces.goingOn.append(block++);
        }
        pieces.text += line.sliced(from);
        pieces.text += u'\n';
        ++block;
    }
    pieces.text.chop(1);
    return pieces;
}
} // namespace

LongTextView::LongTextView(QWidget *parent) : QPlainTextEdit(parent)
{
    setReadOnly(true);
    setTabChangesFocus(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
}

void LongTextView::showText(const QString &text)
{
    const Pieces pieces = piecesOf(text);
    setPlainText(pieces.text);
    for (const int number : pieces.goingOn)
        document()->findBlockByNumber(number).setUserState(GoesOn);
}

QMimeData *LongTextView::createMimeDataFromSelection() const
{
    const int from = textCursor().selectionStart();
    const int to = textCursor().selectionEnd();
    QString text;
    for (QTextBlock block = document()->findBlock(from); block.isValid() && block.position() <= to;
         block = block.next()) {
        const int begin = std::max(from - block.position(), 0);
        const int end = std::min(to - block.position(), block.length() - 1);
        text += block.text().mid(begin, end - begin);
        const bool isLast = to < block.position() + block.length();
        if (!isLast && block.userState() != GoesOn)
            text += u'\n';
    }
    auto *copied = new QMimeData;
    copied->setText(text);
    return copied;
}
