#include "hud/DeckPainting.h"

#include "tapes/CassetteDrawing.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QRandomGenerator>
#include <cmath>

namespace spindrel {

QFont DeckPainting::labelFont(qreal pixelSize, QFont::Weight weight)
{
    QFont font = CassetteDrawing::font(12, weight);
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(pixelSize))));
    return font;
}

void DeckPainting::drawBrushedMetal(QPainter& painter, const QRectF& rect, const QColor& base)
{
    painter.save();
    QLinearGradient shade(rect.topLeft(), rect.bottomLeft());
    shade.setColorAt(0.0, base.lighter(125));
    shade.setColorAt(0.45, base);
    shade.setColorAt(1.0, base.darker(135));
    painter.fillRect(rect, shade);

    // The grain is the same on every paint: a generator with a fixed seed.
    QRandomGenerator grain(0x5eed);
    painter.setClipRect(rect, Qt::IntersectClip);
    for (qreal y = rect.top(); y < rect.bottom(); y += 1.0) {
        const int alpha = static_cast<int>(grain.bounded(14));
        const bool light = grain.bounded(2) == 0;
        const qreal start = rect.left() + grain.bounded(rect.width() * 0.3);
        const qreal length = rect.width() * (0.4 + grain.generateDouble() * 0.6);
        painter.setPen(QPen(light ? QColor(255, 255, 255, alpha) : QColor(0, 0, 0, alpha + 4), 0.6));
        painter.drawLine(QPointF(start, y + 0.5), QPointF(start + length, y + 0.5));
    }
    painter.restore();
}

void DeckPainting::drawGloss(QPainter& painter, const QRectF& rect, qreal radius, qreal strength)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath clip;
    clip.addRoundedRect(rect, radius, radius);
    painter.setClipPath(clip, Qt::IntersectClip);

    // A wide ellipse whose lower edge bows across the upper half, like a reflected window.
    QPainterPath highlight;
    const QRectF arc(rect.left() - rect.width() * 0.25, rect.top() - rect.height() * 1.05, rect.width() * 1.5,
                     rect.height() * 1.55);
    highlight.addEllipse(arc);
    QLinearGradient fade(rect.topLeft(), QPointF(rect.left(), rect.top() + rect.height() * 0.5));
    fade.setColorAt(0.0, QColor(255, 255, 255, static_cast<int>(70 * strength)));
    fade.setColorAt(1.0, QColor(255, 255, 255, static_cast<int>(12 * strength)));
    painter.fillPath(highlight, fade);

    // A bright hairline along the top edge.
    painter.setPen(QPen(QColor(255, 255, 255, static_cast<int>(90 * strength)), 1.0));
    painter.drawLine(QPointF(rect.left() + radius, rect.top() + 0.5),
                     QPointF(rect.right() - radius, rect.top() + 0.5));
    painter.restore();
}

void DeckPainting::drawRecess(QPainter& painter, const QRectF& rect, qreal radius, const QColor& floor)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);

    // The lit lip below the opening.
    painter.fillPath(path.translated(0, 1.0), QColor(255, 255, 255, 40));
    painter.fillPath(path, floor);

    painter.setClipPath(path, Qt::IntersectClip);
    QLinearGradient shadow(rect.topLeft(), QPointF(rect.left(), rect.top() + std::min(14.0, rect.height())));
    shadow.setColorAt(0.0, QColor(0, 0, 0, 150));
    shadow.setColorAt(1.0, QColor(0, 0, 0, 0));
    painter.fillRect(rect, shadow);
    painter.setPen(QPen(QColor(0, 0, 0, 170), 1.0));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(rect.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.restore();
}

void DeckPainting::drawDivider(QPainter& painter, const QRectF& rect)
{
    painter.save();
    const qreal y = std::floor(rect.center().y()) + 0.5;
    QLinearGradient dark(rect.topLeft(), rect.topRight());
    dark.setColorAt(0.0, QColor(0, 0, 0, 0));
    dark.setColorAt(0.08, QColor(0, 0, 0, 150));
    dark.setColorAt(0.92, QColor(0, 0, 0, 150));
    dark.setColorAt(1.0, QColor(0, 0, 0, 0));
    QLinearGradient light(rect.topLeft(), rect.topRight());
    light.setColorAt(0.0, QColor(255, 255, 255, 0));
    light.setColorAt(0.08, QColor(255, 255, 255, 45));
    light.setColorAt(0.92, QColor(255, 255, 255, 45));
    light.setColorAt(1.0, QColor(255, 255, 255, 0));
    painter.setPen(QPen(QBrush(dark), 1.0));
    painter.drawLine(QPointF(rect.left(), y), QPointF(rect.right(), y));
    painter.setPen(QPen(QBrush(light), 1.0));
    painter.drawLine(QPointF(rect.left(), y + 1.0), QPointF(rect.right(), y + 1.0));
    painter.restore();
}

void DeckPainting::drawScrew(QPainter& painter, const QPointF& center, qreal radius, qreal angleDegrees)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    // The countersink, then the head lit from above.
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 110));
    painter.drawEllipse(center, radius + 1.2, radius + 1.2);
    QRadialGradient head(center - QPointF(radius * 0.35, radius * 0.45), radius * 1.6);
    head.setColorAt(0.0, QColor(214, 216, 220));
    head.setColorAt(0.6, QColor(140, 143, 148));
    head.setColorAt(1.0, QColor(70, 72, 76));
    painter.setBrush(head);
    painter.drawEllipse(center, radius, radius);

    painter.translate(center);
    painter.rotate(angleDegrees);
    const qreal arm = radius * 0.62;
    const qreal width = std::max(0.8, radius * 0.26);
    painter.setPen(QPen(QColor(255, 255, 255, 90), width, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(-arm, 0.5), QPointF(arm, 0.5));
    painter.drawLine(QPointF(0.5, -arm), QPointF(0.5, arm));
    painter.setPen(QPen(QColor(30, 31, 34), width, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(-arm, 0), QPointF(arm, 0));
    painter.drawLine(QPointF(0, -arm), QPointF(0, arm));
    painter.restore();
}

void DeckPainting::drawSpeakerGrille(QPainter& painter, const QRectF& rect)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal radius = std::min(8.0, std::min(rect.width(), rect.height()) / 6.0);
    QPainterPath outline;
    outline.addRoundedRect(rect, radius, radius);
    painter.setClipPath(outline, Qt::IntersectClip);
    drawBrushedMetal(painter, rect, QColor(72, 74, 78));

    // Holes in staggered rows; each is a dark well with a lit lower rim.
    constexpr qreal pitch = 6.0;
    constexpr qreal hole = 1.7;
    const qreal rowHeight = pitch * 0.866;
    int row = 0;
    for (qreal y = rect.top() + pitch * 0.6; y < rect.bottom() - pitch * 0.3; y += rowHeight, ++row) {
        const qreal offset = (row % 2) ? pitch / 2.0 : 0.0;
        for (qreal x = rect.left() + pitch * 0.6 + offset; x < rect.right() - pitch * 0.3; x += pitch) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(QColor(255, 255, 255, 38));
            painter.drawEllipse(QPointF(x, y + 0.6), hole, hole);
            painter.setBrush(QColor(8, 8, 9));
            painter.drawEllipse(QPointF(x, y), hole, hole);
        }
    }

    // The light falls off towards the bottom; the rim is bevelled.
    QLinearGradient falloff(rect.topLeft(), rect.bottomLeft());
    falloff.setColorAt(0.0, QColor(255, 255, 255, 22));
    falloff.setColorAt(0.5, QColor(0, 0, 0, 0));
    falloff.setColorAt(1.0, QColor(0, 0, 0, 70));
    painter.fillRect(rect, falloff);
    painter.setClipping(false);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(0, 0, 0, 160), 1.0));
    painter.drawRoundedRect(rect.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.setPen(QPen(QColor(255, 255, 255, 35), 1.0));
    painter.drawRoundedRect(rect.adjusted(1.5, 1.5, -1.5, -1.5), radius - 1, radius - 1);
    painter.restore();
}

void DeckPainting::drawEmbossedText(QPainter& painter, const QRectF& rect, int flags, const QString& text,
                                    const QFont& font, const QColor& color, const QColor& light)
{
    painter.save();
    painter.setFont(font);
    painter.setPen(light);
    painter.drawText(rect.translated(0, 1.0), flags, text);
    painter.setPen(color);
    painter.drawText(rect, flags, text);
    painter.restore();
}

void DeckPainting::drawEmbossedPath(QPainter& painter, const QPainterPath& path, const QColor& ink)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(path.translated(0, 1.0), QColor(255, 255, 255, 110));
    painter.fillPath(path, ink);
    // Inner shadow: the part of the glyph not covered by itself shifted down.
    const QPainterPath rim = path.subtracted(path.translated(0, 1.2));
    painter.fillPath(rim, QColor(0, 0, 0, 120));
    painter.restore();
}

void DeckPainting::drawFocusRing(QPainter& painter, const QRectF& rect, qreal radius, const QColor& color)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    QColor halo = color;
    halo.setAlphaF(color.alphaF() * 0.35f);
    painter.setPen(QPen(halo, 3.0));
    painter.drawRoundedRect(rect, radius, radius);
    painter.setPen(QPen(color, 1.5));
    painter.drawRoundedRect(rect, radius, radius);
    painter.restore();
}

} // namespace spindrel
