#include "controls/Card.h"

#include "controls/Theme.h"

#include <QPainter>
#include <QPainterPath>

using namespace Qt::StringLiterals;

namespace
{
class Edge : public QWidget
{
public:
    explicit Edge(QWidget *parent) : QWidget(parent) { setAttribute(Qt::WA_TransparentForMouseEvents); }

protected:
    void paintEvent(QPaintEvent *) override
    {
        const QPalette palette = window()->palette();
        const QRectF outline = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        QPainterPath inside;
        inside.addRoundedRect(outline, Theme::cardRadius, Theme::cardRadius);
        QPainterPath corners;
        corners.addRect(rect());
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(corners - inside, palette.color(QPalette::Window));
        painter.strokePath(inside, Theme::color(u"line"_s, palette));
    }
};
} // namespace

Card::Card(QWidget *parent) : QWidget(parent), m_edge(new Edge(this)) { }

void Card::resizeEvent(QResizeEvent *event)
{
    m_edge->resize(size());
    QWidget::resizeEvent(event);
}

void Card::showEvent(QShowEvent *event)
{
    m_edge->raise();
    QWidget::showEvent(event);
}
