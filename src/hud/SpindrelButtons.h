#pragma once

#include <QImage>
#include <QPainterPath>

namespace spindrel {

/// The glyphs of the transport keys, as embossed images and as the outlines they are made of.
class SpindrelButtons
{
public:
    enum Glyph { Record, Play, Rewind, FastForward, Stop, Pause };

    /// Side of the square the glyph images are drawn in, in points.
    static constexpr qreal imageSize = 22.0;

    static QImage recButtonImage(qreal devicePixelRatio = 2.0) { return image(Record, devicePixelRatio); }
    static QImage playButtonImage(qreal devicePixelRatio = 2.0) { return image(Play, devicePixelRatio); }
    static QImage rewButtonImage(qreal devicePixelRatio = 2.0) { return image(Rewind, devicePixelRatio); }
    static QImage ffButtonImage(qreal devicePixelRatio = 2.0) { return image(FastForward, devicePixelRatio); }
    static QImage stopButtonImage(qreal devicePixelRatio = 2.0) { return image(Stop, devicePixelRatio); }
    static QImage pauseButtonImage(qreal devicePixelRatio = 2.0) { return image(Pause, devicePixelRatio); }

    /// The glyph embossed into an image of imageSize points carrying `devicePixelRatio`.
    static QImage image(Glyph glyph, qreal devicePixelRatio = 2.0);
    /// The glyph's outline fitted into `box`.
    static QPainterPath path(Glyph glyph, const QRectF& box);
};

} // namespace spindrel
