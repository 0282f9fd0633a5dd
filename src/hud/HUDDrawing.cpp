#include "hud/HUDDrawing.h"

#include "tapes/CassetteDrawing.h"

#include <QPainter>
#include <cmath>

namespace spindrel {

namespace {

QColor withAlpha(QColor color, qreal alpha)
{
    color.setAlphaF(static_cast<float>(color.alphaF() * alpha));
    return color;
}

} // namespace

QFont HUDDrawing::labelFont(qreal pixelSize)
{
    QFont font = CassetteDrawing::font(12, QFont::Bold);
    font.setPixelSize(static_cast<int>(std::lround(pixelSize)));
    return font;
}

QFont HUDDrawing::timeFont(qreal pixelSize)
{
    QFont font = CassetteDrawing::font(12, QFont::Bold);
    font.setFamilies({QStringLiteral("Helvetica"), QStringLiteral("Liberation Sans"),
                      QStringLiteral("Nimbus Sans"), QStringLiteral("DejaVu Sans")});
    font.setPixelSize(static_cast<int>(std::lround(pixelSize)));
    return font;
}

void HUDDrawing::drawLitRect(QPainter& painter, const QRectF& rect, const QColor& color)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    if (glows(color)) {
        painter.setBrush(withAlpha(color, 0.18));
        painter.drawRoundedRect(rect.adjusted(-1.5, -1.5, 1.5, 1.5), cornerRadius + 1.5, cornerRadius + 1.5);
    }
    painter.setBrush(color);
    painter.drawRoundedRect(rect, cornerRadius, cornerRadius);
    painter.restore();
}

void HUDDrawing::drawLitFrame(QPainter& painter, const QRectF& rect, const QColor& color)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    const QRectF line = rect.adjusted(0.5, 0.5, -0.5, -0.5);
    if (glows(color)) {
        painter.setPen(QPen(withAlpha(color, 0.2), 3.0));
        painter.drawRoundedRect(line, cornerRadius, cornerRadius);
    }
    painter.setPen(QPen(color, 1.0));
    painter.drawRoundedRect(line, cornerRadius, cornerRadius);
    painter.restore();
}

void HUDDrawing::drawLitText(QPainter& painter, const QRectF& rect, int flags, const QString& text,
                             const QFont& font, const QColor& color)
{
    painter.save();
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setFont(font);
    if (glows(color)) {
        painter.setPen(withAlpha(color, 0.16));
        for (const QPointF offset : {QPointF(-0.8, 0), QPointF(0.8, 0), QPointF(0, -0.8), QPointF(0, 0.8)})
            painter.drawText(rect.translated(offset), flags, text);
    }
    painter.setPen(color);
    painter.drawText(rect, flags, text);
    painter.restore();
}

} // namespace spindrel
