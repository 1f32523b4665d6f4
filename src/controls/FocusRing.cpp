#include "controls/FocusRing.h"

#include "controls/Theme.h"

#include <QApplication>
#include <QEvent>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace
{
constexpr int Gap = 2;
constexpr int Width = 2;
} // namespace

FocusRing::FocusRing(QWidget &around, int radius) : QWidget(around.parentWidget()), m_around(&around), m_radius(radius)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    around.installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) { follow(now); });
    follow(QApplication::focusWidget());
}

bool FocusRing::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Move || event->type() == QEvent::Resize)
        place();
    return QWidget::eventFilter(watched, event);
}

void FocusRing::place()
{
    setGeometry(m_around->geometry().marginsAdded(QMargins() + (Gap + Width)));
}

void FocusRing::follow(const QWidget *focused)
{
    if (!m_around)
        return hide();
    place();
    setVisible(focused && (focused == m_around || m_around->isAncestorOf(focused)));
    raise();
}

void FocusRing::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::color(u"focus"_s, window()->palette()), Width));
    const qreal half = Width / 2.0;
    const qreal radius = m_radius + Gap + half;
    painter.drawRoundedRect(QRectF(rect()).adjusted(half, half, -half, -half), radius, radius);
}
