#include "hud/SpindrelButtons.h"

#include "hud/DeckPainting.h"

#include <QPainter>
#include <cmath>

namespace spindrel {

namespace {

QPainterPath triangle(const QPointF& tip, qreal width, qreal height, bool pointingRight)
{
    const qreal back = pointingRight ? tip.x() - width : tip.x() + width;
    QPainterPath path;
    path.moveTo(tip);
    path.lineTo(back, tip.y() - height / 2.0);
    path.lineTo(back, tip.y() + height / 2.0);
    path.closeSubpath();
    return path;
}

} // namespace

QPainterPath SpindrelButtons::path(Glyph glyph, const QRectF& box)
{
    const QPointF c = box.center();
    const qreal s = std::min(box.width(), box.height());
    QPainterPath path;
    switch (glyph) {
    case Record:
        path.addEllipse(c, s * 0.30, s * 0.30);
        break;
    case Play:
        path = triangle(QPointF(c.x() + s * 0.32, c.y()), s * 0.58, s * 0.64, true);
        break;
    case Rewind:
        path = triangle(QPointF(c.x() - s * 0.42, c.y()), s * 0.42, s * 0.50, false)
                   .united(triangle(QPointF(c.x(), c.y()), s * 0.42, s * 0.50, false));
        break;
    case FastForward:
        path = triangle(QPointF(c.x(), c.y()), s * 0.42, s * 0.50, true)
                   .united(triangle(QPointF(c.x() + s * 0.42, c.y()), s * 0.42, s * 0.50, true));
        break;
    case Stop:
        path.addRoundedRect(QRectF(c.x() - s * 0.26, c.y() - s * 0.26, s * 0.52, s * 0.52), s * 0.05,
                            s * 0.05);
        break;
    case Pause: {
        const qreal bar = s * 0.17;
        const qreal height = s * 0.56;
        path.addRoundedRect(QRectF(c.x() - s * 0.22, c.y() - height / 2, bar, height), s * 0.03, s * 0.03);
        path.addRoundedRect(QRectF(c.x() + s * 0.05, c.y() - height / 2, bar, height), s * 0.03, s * 0.03);
        break;
    }
    }
    return path;
}

QImage SpindrelButtons::image(Glyph glyph, qreal devicePixelRatio)
{
    const int pixels = static_cast<int>(std::ceil(imageSize * devicePixelRatio));
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    // Room at the bottom for the highlight under the glyph.
    const QRectF box(1.0, 0.5, imageSize - 2.0, imageSize - 2.0);
    DeckPainting::drawEmbossedPath(painter, path(glyph, box), QColor(28, 28, 30, 215));
    return image;
}

} // namespace spindrel
