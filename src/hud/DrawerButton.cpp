#include "hud/DrawerButton.h"

#include "hud/DeckPainting.h"

#include <QPainter>
#include <QPainterPath>

namespace spindrel {

DrawerButton::DrawerButton(Side side, QWidget* parent) : QAbstractButton(parent), mSide(side)
{
    setCursor(Qt::PointingHandCursor);
    // Tab reaches it; a click leaves the keyboard with the transport keys.
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(tr("Show Tapes"));
}

void DrawerButton::setDisclosed(bool disclosed)
{
    mDisclosed = disclosed;
    setAccessibleName(disclosed ? tr("Hide Tapes") : tr("Show Tapes"));
    update();
}

void DrawerButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF handle = QRectF(rect()).adjusted(1.0, 1.0, -1.0, -1.0);
    QLinearGradient shade(handle.topLeft(), handle.topRight());
    const bool down = isDown();
    shade.setColorAt(0.0, down ? QColor(40, 41, 45) : QColor(78, 80, 86));
    shade.setColorAt(1.0, down ? QColor(28, 29, 32) : QColor(46, 48, 52));
    QPainterPath path;
    path.addRoundedRect(handle, 4.0, 4.0);
    painter.fillPath(path, shade);
    painter.setPen(QPen(QColor(0, 0, 0, 180), 1.0));
    painter.drawPath(path);
    painter.setPen(QPen(QColor(255, 255, 255, 30), 1.0));
    painter.drawLine(handle.topLeft() + QPointF(2.0, 1.5), handle.topRight() + QPointF(-2.0, 1.5));

    // The drawer slides out away from the deck and back in towards it.
    const bool pointsRight = (mSide == Right) != mDisclosed;
    const QPointF c = handle.center();
    QPainterPath arrow;
    const qreal dx = pointsRight ? 2.5 : -2.5;
    arrow.moveTo(c + QPointF(-dx, -4.0));
    arrow.lineTo(c + QPointF(dx, 0.0));
    arrow.lineTo(c + QPointF(-dx, 4.0));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(0, 0, 0, 140), 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(arrow.translated(0, 1.0));
    painter.setPen(QPen(QColor(200, 204, 210), 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(arrow);
    if (hasFocus())
        DeckPainting::drawFocusRing(painter, handle.adjusted(1.0, 1.0, -1.0, -1.0), 3.0);
}

} // namespace spindrel
