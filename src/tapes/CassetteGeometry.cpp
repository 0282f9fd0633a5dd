#include "tapes/CassetteGeometry.h"

namespace spindrel {

QRectF CassetteGeometry::reelRect(Reel reel)
{
    const double radius = hubDiameter / 2.0 + 1.0;
    const QPointF center = spoolCenter(reel);
    return {center.x() - radius, center.y() - radius, 2.0 * radius, 2.0 * radius};
}

} // namespace spindrel
