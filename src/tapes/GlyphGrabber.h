#pragma once

#include <QFont>
#include <QPainterPath>
#include <QString>

namespace spindrel {

/// Turns text into glyph outlines, so that labels and buttons can draw letters as shapes.
class GlyphGrabber
{
public:
    /// The outlines of every glyph of text laid out in font, in one path. The first glyph starts at
    /// x = 0 on the baseline y = 0 (Qt's axes: y grows downwards, so ascenders are negative); each
    /// next glyph starts the previous glyph's advance plus kerning further right.
    static QPainterPath glyphForCharacter(const QString& text, const QFont& font, qreal kerning = 0.0);
};

} // namespace spindrel
