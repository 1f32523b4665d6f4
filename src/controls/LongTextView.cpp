#include "controls/LongTextView.h"

#include "controls/Theme.h"

#include <QMimeData>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
// As slim as the pages' own.
const QString scrollBarSheet = uR"(
QScrollBar:vertical { width: 10px; background: transparent; }
QScrollBar::handle:vertical { background: @thumb; border-radius: 3px; margin: 2px; min-height: 24px; }
QScrollBar::handle:vertical:hover { background: @page-muted; }
QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0; }
QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background: transparent; }
)"_s;

constexpr qsizetype LongestPiece = 2000;
constexpr int GoesOn = 1; // a block's state: the line goes on in the next block

struct Pieces {
    QString text;
    QList<int> cuts; // positions of the line ends that are cuts
};

// Every kind of line end becomes the one that makes a block, so that positions in the text are positions in the view.
QString withPlainLineEnds(QString text)
{
    return text.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n').replace(QChar::ParagraphSeparator, u'\n');
}

Pieces piecesOf(const QString &text)
{
    Pieces pieces;
    pieces.text.reserve(text.size());
    for (QStringView line : QStringView(text).tokenize(u'\n')) {
        while (line.size() > LongestPiece) {
            const bool splitsPair = line[LongestPiece].isLowSurrogate();
            const qsizetype size = splitsPair ? LongestPiece - 1 : LongestPiece;
            pieces.text += line.first(size);
            pieces.cuts.append(int(pieces.text.size()));
            pieces.text += u'\n';
            line = line.sliced(size);
        }
        pieces.text += line;
        pieces.text += u'\n';
    }
    pieces.text.chop(1);
    return pieces;
}
} // namespace

LongTextView::LongTextView(QWidget *parent) : QPlainTextEdit(parent)
{
    setReadOnly(true);
    setTabChangesFocus(true);
    Theme::follow(*verticalScrollBar(), scrollBarSheet);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff); // every line wraps, but a bar flickers as the window opens
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
}

void LongTextView::showText(const QString &text)
{
    const Pieces pieces = piecesOf(withPlainLineEnds(text));
    setPlainText(pieces.text);
    for (const int cut : pieces.cuts)
        document()->findBlock(cut).setUserState(GoesOn);
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
