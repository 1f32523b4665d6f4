#include "controls/ElidedLabel.h"

#include <QFontMetrics>
#include <QPainter>
#include <QTextDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

ElidedLabel::ElidedLabel(QWidget *parent) : QLabel(parent)
{
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void ElidedLabel::setText(const QString &text)
{
    if (text == m_text)
        return;
    m_text = text;
    // A tool tip takes a text without tags for plain, and would show the entities of an escaped one: hence a paragraph.
    setToolTip(text.isEmpty() ? QString() : Qt::convertFromPlainText(shownText(), Qt::WhiteSpaceNormal));
    setAccessibleName(shownText()); // a screen reader speaks it when it changes
    updateGeometry();
    update();
}

// Where a version is expected an error page can come; its beginning is enough.
QString ElidedLabel::shownText() const
{
    return m_text.left(500).simplified();
}

QSize ElidedLabel::sizeHint() const
{
    const QFontMetrics metrics = fontMetrics();
    return {std::min(metrics.horizontalAdvance(shownText()) + 2, metrics.averageCharWidth() * 60), metrics.height()};
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {fontMetrics().averageCharWidth() * 4, fontMetrics().height()};
}

void ElidedLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     fontMetrics().elidedText(shownText(), Qt::ElideRight, width()));
}
