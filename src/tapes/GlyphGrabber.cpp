#include "tapes/GlyphGrabber.h"

#include <QGlyphRun>
#include <QRawFont>
#include <QTextLayout>

namespace spindrel {

QPainterPath GlyphGrabber::glyphForCharacter(const QString& text, const QFont& font, qreal kerning)
{
    QPainterPath path;
    if (text.isEmpty())
        return path;

    // The layout picks glyphs (and fallback fonts for characters the font lacks); the placement
    // is ours: advance plus kerning, nothing from the shaper's pair kerning.
    QTextLayout layout(text, font);
    layout.setCacheEnabled(true);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    if (!line.isValid()) {
        layout.endLayout();
        return path;
    }
    line.setNumColumns(int(text.size()));
    layout.endLayout();

    qreal x = 0.0;
    for (const QGlyphRun& run : layout.glyphRuns()) {
        const QRawFont rawFont = run.rawFont();
        const QList<quint32> glyphs = run.glyphIndexes();
        const QList<QPointF> advances = rawFont.advancesForGlyphIndexes(glyphs, QRawFont::UseDesignMetrics);
        for (qsizetype i = 0; i < glyphs.size(); ++i) {
            path.addPath(rawFont.pathForGlyph(glyphs[i]).translated(x, 0.0));
            x += advances[i].x() + kerning;
        }
    }
    return path;
}

} // namespace spindrel
