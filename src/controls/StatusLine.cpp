#include "controls/StatusLine.h"

#include "controls/Theme.h"

#include <QPainter>
#include <QTextLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
constexpr int LongestText = 76; // a login's outcome with a name of sixty letters
constexpr int FewestLines = 2;
constexpr int MostLines = 4;

// Broken into lines of that width, anywhere if a word is longer; the last line is cut with an ellipsis.
QStringList linesOf(const QString &text, const QFont &font, int width, int most)
{
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    QTextLayout layout(text, font);
    layout.setTextOption(option);
    QStringList lines;
    layout.beginLayout();
    while (lines.size() < most) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        const bool isLast = lines.size() + 1 == most;
        lines.append(isLast ? QFontMetrics(font).elidedText(text.sliced(line.textStart()), Qt::ElideRight, width)
                            : text.sliced(line.textStart(), line.textLength()));
    }
    layout.endLayout();
    return lines;
}

void drawSign(QPainter &painter, const QRect &rect, const QColor &color, const QColor &ground)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(rect);
    const qreal unit = rect.height() / 16.0;
    const QPointF middle = QRectF(rect).center();
    painter.setBrush(ground);
    painter.drawRoundedRect(QRectF(middle.x() - unit, middle.y() - 5 * unit, 2 * unit, 6 * unit), unit, unit);
    painter.drawEllipse(QPointF(middle.x(), middle.y() + 4 * unit), 1.2 * unit, 1.2 * unit);
}
} // namespace

StatusLine::StatusLine(QWidget *parent) : ElidedLabel(parent)
{
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void StatusLine::setFailure(bool failure)
{
    m_isFailure = failure;
    update();
}

int StatusLine::heightForWidth(int width) const
{
    const int text = std::max(width - fontMetrics().lineSpacing(), 1);
    const int lines = (LongestText * fontMetrics().averageCharWidth() + text - 1) / text;
    return std::clamp(lines, FewestLines, MostLines) * fontMetrics().lineSpacing();
}

QSize StatusLine::sizeHint() const
{
    return {fontMetrics().averageCharWidth() * 40, fontMetrics().lineSpacing() * FewestLines};
}

QSize StatusLine::minimumSizeHint() const
{
    return {fontMetrics().averageCharWidth() * 28, fontMetrics().lineSpacing() * FewestLines};
}

// Where the sign stands.
int StatusLine::indent() const
{
    return m_isFailure ? fontMetrics().lineSpacing() : 0;
}

QStringList StatusLine::lines() const
{
    return linesOf(shownText(), font(), width() - indent(), std::max(height() / fontMetrics().lineSpacing(), 1));
}

void StatusLine::paintEvent(QPaintEvent *)
{
    const QPalette desktop = window()->palette();
    const QColor color = m_isFailure ? Theme::color(u"failure"_s, desktop) : palette().color(foregroundRole());
    const int lineHeight = fontMetrics().lineSpacing();
    int top = height() - int(lines().size()) * lineHeight;
    QPainter painter(this);
    if (m_isFailure) {
        const int size = lineHeight * 3 / 4;
        drawSign(painter, QRect(0, top + (lineHeight - size) / 2, size, size), color, desktop.color(QPalette::Window));
    }
    painter.setPen(color);
    for (const QString &line : lines()) {
        painter.drawText(QRect(indent(), top, width() - indent(), lineHeight),
                         Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, line);
        top += lineHeight;
    }
}
