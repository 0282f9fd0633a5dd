#pragma once

#include "tapes/CassetteValues.h"

#include <QFont>
#include <QImage>

class QPainter;
class QPainterPath;
class QPointF;

namespace spindrel {

/// The vector drawing of the cassette, in its natural units, one layer at a time. The order is
/// shell, label, window interior, hubs, window glass, door; everything but the hubs stays still
/// while the reels turn, which is what lets the artwork cache it.
class CassetteDrawing
{
public:
    static void drawShell(QPainter& painter);
    static void drawLabel(QPainter& painter, const CassetteValues& values);
    /// The label without its three lines of text, which lie apart from everything else on it.
    static void drawLabelBody(QPainter& painter, const CassetteValues& values);
    /// The title, the time line and the notes.
    static void drawLabelText(QPainter& painter, const CassetteValues& values);
    /// The dark inside of the cassette behind the window and the wound tape packs.
    static void drawWindowInterior(QPainter& painter, const CassetteValues& values);
    /// One hub at `angleRadians` (counter-clockwise on screen for positive angles).
    static void drawHub(QPainter& painter, const QPointF& center, double angleRadians);
    static void drawWindowGlass(QPainter& painter);
    static void drawDoor(QPainter& painter, const QString& slogan);

    /// A transparent picture to draw layers into, and the painter settings every layer is drawn with.
    static QImage blankImage(const QSize& pixels, qreal devicePixelRatio);
    static void beginDrawing(QPainter& painter);

    /// A sans-serif face from the best family this machine has, sized in the cassette's units.
    static QFont font(int pixelSize, QFont::Weight weight, bool italic = false);
    /// A soft shadow under `path`, blurred over about `blur` units.
    static void drawSoftShadow(QPainter& painter, const QPainterPath& path, double blur,
                               const QPointF& offset, double opacity);
};

} // namespace spindrel
