#include "hud/LayerCache.h"

#include <QPainter>
#include <cmath>

namespace spindrel {

void LayerCache::paint(QPainter& painter, const QRect& exposed, const QSize& size, qreal devicePixelRatio,
                       const Drawing& draw)
{
    if (mPicture.isNull() || mSize != size || mPicture.devicePixelRatio() != devicePixelRatio) {
        const QSize pixels(static_cast<int>(std::ceil(size.width() * devicePixelRatio)),
                           static_cast<int>(std::ceil(size.height() * devicePixelRatio)));
        mPicture = QPixmap(pixels);
        mPicture.setDevicePixelRatio(devicePixelRatio);
        mPicture.fill(Qt::transparent);
        mSize = size;
        QPainter layer(&mPicture);
        draw(layer);
    }
    const QRect area = exposed.intersected(QRect(QPoint(0, 0), size));
    if (area.isEmpty())
        return;
    const QRectF source(area.x() * devicePixelRatio, area.y() * devicePixelRatio,
                        area.width() * devicePixelRatio, area.height() * devicePixelRatio);
    painter.drawPixmap(QRectF(area), mPicture, source);
}

} // namespace spindrel
