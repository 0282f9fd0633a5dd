#include "tapes/CassetteDrawing.h"
#include "tapes/CassetteGeometry.h"

#include <QConicalGradient>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <cmath>
#include <numbers>

namespace spindrel {

using G = CassetteGeometry;

namespace {

constexpr double windowCornerRadius = 10.0;
constexpr int teethCount = 6;

QPainterPath windowPath()
{
    QPainterPath path;
    path.addRoundedRect(G::windowRect(), windowCornerRadius, windowCornerRadius);
    return path;
}

void drawPack(QPainter& painter, const QPointF& center, double diameter)
{
    const double outer = diameter / 2.0;
    const double inner = G::hubDiameter / 2.0;
    if (outer <= inner)
        return;
    QPainterPath ring;
    ring.setFillRule(Qt::OddEvenFill);
    ring.addEllipse(center, outer, outer);
    ring.addEllipse(center, inner, inner);

    CassetteDrawing::drawSoftShadow(painter, ring, 4.0, QPointF(0, 0), 0.55);
    painter.fillPath(ring, QColor::fromRgbF(0.21f, 0.17f, 0.15f));

    // The wound layers show as faint rings; the oxide's gloss as a bow-tie of light.
    painter.save();
    painter.setClipPath(ring, Qt::IntersectClip);
    painter.setBrush(Qt::NoBrush);
    int layer = 0;
    for (double r = inner + 2.0; r < outer; r += 2.2, ++layer) {
        const int alpha = (layer * 7) % 3 == 0 ? 22 : 9;
        painter.setPen(QPen(layer % 2 ? QColor(0, 0, 0, alpha) : QColor(255, 230, 210, alpha), 0.7));
        painter.drawEllipse(center, r, r);
    }
    QConicalGradient gloss(center, 35.0);
    gloss.setColorAt(0.0, QColor(255, 240, 225, 0));
    gloss.setColorAt(0.12, QColor(255, 240, 225, 46));
    gloss.setColorAt(0.25, QColor(255, 240, 225, 0));
    gloss.setColorAt(0.5, QColor(255, 240, 225, 0));
    gloss.setColorAt(0.62, QColor(255, 240, 225, 30));
    gloss.setColorAt(0.75, QColor(255, 240, 225, 0));
    gloss.setColorAt(1.0, QColor(255, 240, 225, 0));
    painter.fillPath(ring, gloss);
    painter.restore();

    painter.setPen(QPen(QColor(150, 120, 100, 90), 0.8));
    painter.drawEllipse(center, outer - 0.4, outer - 0.4);
}

// A tooth of the spindle hole, pointing at the centre, drawn along the positive x axis.
QPainterPath toothPath()
{
    QPainterPath tooth;
    tooth.moveTo(10.2, -2.1);
    tooth.lineTo(6.6, -1.4);
    tooth.quadTo(6.0, 0, 6.6, 1.4);
    tooth.lineTo(10.2, 2.1);
    tooth.closeSubpath();
    return tooth;
}

} // namespace

void CassetteDrawing::drawWindowInterior(QPainter& painter, const CassetteValues& values)
{
    const QRectF window = G::windowRect();
    painter.save();
    painter.setClipPath(windowPath());
    QLinearGradient inside(window.topLeft(), window.bottomLeft());
    inside.setColorAt(0.0, QColor(38, 34, 31));
    inside.setColorAt(1.0, QColor(16, 14, 13));
    painter.fillRect(window, inside);
    drawPack(painter, G::leftSpoolCenter(), values.leftPackDiameter);
    drawPack(painter, G::rightSpoolCenter(), values.rightPackDiameter);
    painter.restore();
}

void CassetteDrawing::drawHub(QPainter& painter, const QPointF& center, double angleRadians)
{
    const double radius = G::hubDiameter / 2.0;
    painter.save();
    painter.translate(center);
    // Positive angles turn the way the reels go while playing: counter-clockwise on screen.
    painter.rotate(-angleRadians * 180.0 / std::numbers::pi);

    QRadialGradient plastic(QPointF(-5, -6), radius * 1.6, QPointF(-5, -6));
    plastic.setColorAt(0.0, QColor(255, 255, 253));
    plastic.setColorAt(0.5, QColor(236, 235, 230));
    plastic.setColorAt(1.0, QColor(188, 186, 178));
    painter.setPen(QPen(QColor(120, 116, 106), 0.8));
    painter.setBrush(plastic);
    painter.drawEllipse(QPointF(0, 0), radius - 0.4, radius - 0.4);

    // The gear: a ring of recesses in the hub's face between the rim and the spindle hole.
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(150, 146, 136, 150));
    for (int i = 0; i < 12; ++i) {
        painter.save();
        painter.rotate(i * 30.0 + 15.0);
        painter.drawRoundedRect(QRectF(12.0, -1.3, 3.6, 2.6), 0.8, 0.8);
        painter.restore();
    }
    // The clamp that holds the tape's leader, a wedge set into the rim.
    QPainterPath clamp;
    clamp.moveTo(radius - 0.6, -3.6);
    clamp.lineTo(13.2, -2.4);
    clamp.lineTo(13.2, 2.4);
    clamp.lineTo(radius - 0.6, 3.6);
    clamp.closeSubpath();
    painter.setBrush(QColor(206, 203, 194));
    painter.setPen(QPen(QColor(110, 106, 96), 0.6));
    painter.drawPath(clamp);

    QRadialGradient hole(QPointF(0, 0), 10.5);
    hole.setColorAt(0.0, QColor(8, 8, 8));
    hole.setColorAt(0.85, QColor(22, 21, 20));
    hole.setColorAt(1.0, QColor(70, 68, 64));
    painter.setBrush(hole);
    painter.setPen(QPen(QColor(120, 116, 106), 0.6));
    painter.drawEllipse(QPointF(0, 0), 10.2, 10.2);

    const QPainterPath tooth = toothPath();
    for (int i = 0; i < teethCount; ++i) {
        painter.save();
        painter.rotate(i * 360.0 / teethCount);
        painter.setBrush(QColor(246, 245, 240));
        painter.setPen(QPen(QColor(140, 136, 126), 0.5));
        painter.drawPath(tooth);
        painter.restore();
    }
    painter.restore();
}

void CassetteDrawing::drawWindowGlass(QPainter& painter)
{
    const QRectF window = G::windowRect();
    const QPainterPath pane = windowPath();
    painter.save();
    painter.setClipPath(pane);
    QLinearGradient depth(window.topLeft(), window.bottomLeft());
    depth.setColorAt(0.0, QColor(0, 0, 0, 110));
    depth.setColorAt(0.14, QColor(0, 0, 0, 0));
    depth.setColorAt(0.86, QColor(0, 0, 0, 0));
    depth.setColorAt(1.0, QColor(0, 0, 0, 70));
    painter.fillRect(window, depth);
    QLinearGradient sheen(window.topLeft(), window.bottomLeft());
    sheen.setColorAt(0.0, QColor(255, 255, 255, 42));
    sheen.setColorAt(0.3, QColor(255, 255, 255, 12));
    sheen.setColorAt(0.55, QColor(255, 255, 255, 0));
    painter.fillRect(window, sheen);
    QPainterPath streak;
    streak.moveTo(window.left() + 150, window.top());
    streak.lineTo(window.left() + 176, window.top());
    streak.lineTo(window.left() + 146, window.bottom());
    streak.lineTo(window.left() + 120, window.bottom());
    streak.closeSubpath();
    painter.fillPath(streak, QColor(255, 255, 255, 14));
    painter.restore();

    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(0, 0, 0, 200), 1.2));
    painter.drawPath(pane);
    painter.setPen(QPen(QColor(255, 255, 255, 50), 0.8));
    painter.drawLine(QPointF(window.left() + windowCornerRadius, window.bottom() - 0.8),
                     QPointF(window.right() - windowCornerRadius, window.bottom() - 0.8));
}

} // namespace spindrel
