#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>

class QPainter;
class QPainterPath;
class QString;

namespace spindrel {

/// The deck's decorative drawing, shared by its widgets: the anodised body, gloss, recesses,
/// engraved lines, screws, the speaker grille and embossed text and glyphs.
class DeckPainting
{
public:
    /// The deck's sans-serif labels ("HelveticaNeue-Bold" where the machine has it).
    static QFont labelFont(qreal pixelSize, QFont::Weight weight = QFont::Bold);

    /// Dark brushed metal: a soft vertical shading under fine horizontal grain.
    static void drawBrushedMetal(QPainter& painter, const QRectF& rect,
                                 const QColor& base = QColor(58, 60, 64));
    /// A highlight over the upper part of a rounded rectangle, as on polished glass.
    static void drawGloss(QPainter& painter, const QRectF& rect, qreal radius, qreal strength = 1.0);
    /// A sunken area: dark floor, inner shadow at the top, a lit lip at the bottom.
    static void drawRecess(QPainter& painter, const QRectF& rect, qreal radius,
                           const QColor& floor = QColor(16, 17, 19));
    /// A line cut into the metal across `rect` at its vertical centre, fading out at both ends.
    static void drawDivider(QPainter& painter, const QRectF& rect);
    /// A countersunk cross-head screw.
    static void drawScrew(QPainter& painter, const QPointF& center, qreal radius, qreal angleDegrees = 20.0);
    /// Perforated metal over a dark cavity, with a soft light from above.
    static void drawSpeakerGrille(QPainter& painter, const QRectF& rect);

    /// Text pressed into the surface: a light copy below, the text over it.
    static void drawEmbossedText(QPainter& painter, const QRectF& rect, int flags, const QString& text,
                                 const QFont& font, const QColor& color, const QColor& light);
    /// A glyph pressed into the surface: a highlight under its lower edge, a dark fill with an
    /// inner shadow at its top.
    static void drawEmbossedPath(QPainter& painter, const QPainterPath& path, const QColor& ink);

    /// The blue of the ring around the control the keyboard drives.
    static QColor focusRingColor() { return {96, 178, 255}; }
    /// A ring around a focused control: a soft halo under a crisp line, both in points, so it is
    /// as thick at every device pixel ratio.
    static void drawFocusRing(QPainter& painter, const QRectF& rect, qreal radius,
                              const QColor& color = focusRingColor());
};

} // namespace spindrel
