#pragma once

#include <QPixmap>
#include <functional>

class QPainter;
class QRect;

namespace spindrel {

/// A still layer of a widget kept as a picture at the device's pixel ratio, so that repainting a
/// small region beneath a moving part is a copy rather than a redraw.
class LayerCache
{
public:
    using Drawing = std::function<void(QPainter&)>;

    /// Copies `exposed` (in the layer's logical coordinates) of the layer onto `painter`, drawing
    /// the layer first when it is missing or was made at another size or pixel ratio.
    void paint(QPainter& painter, const QRect& exposed, const QSize& size, qreal devicePixelRatio,
               const Drawing& draw);
    /// The next paint draws the layer anew.
    void invalidate() { mPicture = QPixmap(); }

private:
    QPixmap mPicture;
    QSize mSize;
};

} // namespace spindrel
