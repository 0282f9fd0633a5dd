#include "tapes/CassetteDrawing.h"
#include "tapes/CassetteGeometry.h"
#include "tapes/GlyphGrabber.h"

#include <QFontMetricsF>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

namespace spindrel {

using G = CassetteGeometry;

namespace {

constexpr double labelCornerRadius = 7.0;
constexpr double windowMargin = 5.0;

QPainterPath labelPath()
{
    QPainterPath path;
    path.addRoundedRect(G::labelRect(), labelCornerRadius, labelCornerRadius);
    QPainterPath hole;
    hole.addRoundedRect(G::windowRect().adjusted(-windowMargin, -windowMargin, windowMargin, windowMargin),
                        14.0, 14.0);
    return path.subtracted(hole);
}

void drawRule(QPainter& painter, double y)
{
    const QRectF label = G::labelRect();
    painter.setPen(QPen(QColor(120, 110, 92, 90), 0.8));
    painter.drawLine(QPointF(label.left() + 14, y), QPointF(label.right() - 14, y));
}

void drawElidedText(QPainter& painter, const QRectF& rect, const QFont& font, const QColor& color,
                    const QString& text)
{
    if (text.isEmpty())
        return;
    const QFontMetricsF metrics(font, painter.device());
    painter.setFont(font);
    painter.setPen(color);
    painter.drawText(rect, Qt::AlignLeft | Qt::AlignVCenter,
                     metrics.elidedText(text, Qt::ElideRight, rect.width()));
}

void drawLetterBox(QPainter& painter, const CassetteValues& values)
{
    const QRectF box = G::letterRect();
    QPainterPath boxPath;
    boxPath.addRoundedRect(box, 6.0, 6.0);
    const QColor base = values.letterBackgroundColor;
    QLinearGradient fill(box.topLeft(), box.bottomLeft());
    fill.setColorAt(0.0, base.lighter(112));
    fill.setColorAt(0.5, base);
    fill.setColorAt(1.0, base.darker(112));
    painter.fillPath(boxPath, fill);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(base.darker(140), 0.8));
    painter.drawPath(boxPath);

    // The letter as glyph outlines, centred on its ink rather than on the font's line box.
    const QPainterPath glyphs =
        GlyphGrabber::glyphForCharacter(values.letter, CassetteDrawing::font(58, QFont::Bold));
    if (glyphs.isEmpty())
        return;
    const QRectF ink = glyphs.boundingRect();
    const double fit =
        std::min(1.0, std::min((box.width() - 10.0) / ink.width(), (box.height() - 14.0) / ink.height()));
    QTransform place;
    place.translate(box.center().x(), box.center().y());
    place.scale(fit, fit);
    place.translate(-ink.center().x(), -ink.center().y());
    const QPainterPath letter = place.map(glyphs);
    painter.fillPath(letter.translated(0, 1.0), QColor(0, 0, 0, 60));
    painter.fillPath(letter, values.letterColor);
}

void drawQualityBox(QPainter& painter, const CassetteValues& values)
{
    if (values.quality.isEmpty())
        return;
    const QRectF box = G::qualityRect().adjusted(4, 14, -4, -14);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(60, 56, 50), 1.4));
    painter.drawRoundedRect(box, 5.0, 5.0);
    painter.setFont(CassetteDrawing::font(22, QFont::Bold));
    painter.setPen(QColor(50, 46, 40));
    painter.drawText(box, Qt::AlignCenter, values.quality);
}

} // namespace

void CassetteDrawing::drawLabel(QPainter& painter, const CassetteValues& values)
{
    drawLabelBody(painter, values);
    drawLabelText(painter, values);
}

void CassetteDrawing::drawLabelBody(QPainter& painter, const CassetteValues& values)
{
    const QPainterPath label = labelPath();
    drawSoftShadow(painter, label, 2.5, QPointF(0, 1.0), 0.45);
    const QRectF rect = G::labelRect();
    QLinearGradient paper(rect.topLeft(), rect.bottomLeft());
    paper.setColorAt(0.0, QColor(250, 247, 238));
    paper.setColorAt(1.0, QColor(234, 228, 212));
    painter.fillPath(label, paper);

    // Two bands in the letter's colour, the way printed cassette labels carry their brand stripes.
    const QColor band = values.letterBackgroundColor;
    painter.fillRect(QRectF(rect.left(), 74.0, rect.width(), 2.0), band);
    painter.fillRect(QRectF(rect.left(), 160.0, rect.width(), 1.0), band);

    drawRule(painter, 203.0);
    drawLetterBox(painter, values);
    drawQualityBox(painter, values);

    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(255, 255, 255, 150), 0.8));
    painter.drawLine(QPointF(rect.left() + labelCornerRadius, rect.top() + 0.6),
                     QPointF(rect.right() - labelCornerRadius, rect.top() + 0.6));
    painter.setPen(QPen(QColor(60, 50, 30, 110), 0.8));
    painter.drawPath(label);
}

void CassetteDrawing::drawLabelText(QPainter& painter, const CassetteValues& values)
{
    drawElidedText(painter, G::titleRect(), font(24, QFont::Bold), values.titleColor, values.title);
    drawElidedText(painter, G::timeLineRect(), font(12, QFont::Normal), QColor(74, 68, 58), values.timeLine);
    drawElidedText(painter, G::notesRect(), font(11, QFont::Normal, true), QColor(104, 97, 86), values.notes);
}

} // namespace spindrel
