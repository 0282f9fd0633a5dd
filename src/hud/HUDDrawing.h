#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>

class QPainter;
class QString;

namespace spindrel {

/// How the HUD's lit elements look: rectangles with a corner radius of 2 and text, both glowing
/// a little when fully lit, as the phosphor of a display does.
class HUDDrawing
{
public:
    static constexpr qreal cornerRadius = 2.0;

    /// The labels' face ("HelveticaNeue-Bold", 12 points, where the machine has it).
    static QFont labelFont(qreal pixelSize = 12.0);
    /// The elapsed time's face ("Helvetica Bold").
    static QFont timeFont(qreal pixelSize);

    static void drawLitRect(QPainter& painter, const QRectF& rect, const QColor& color);
    /// A lit outline with a corner radius of 2.
    static void drawLitFrame(QPainter& painter, const QRectF& rect, const QColor& color);
    static void drawLitText(QPainter& painter, const QRectF& rect, int flags, const QString& text,
                            const QFont& font, const QColor& color);
    /// True for colours bright enough to glow.
    static bool glows(const QColor& color) { return color.alphaF() > 0.5; }
};

} // namespace spindrel
