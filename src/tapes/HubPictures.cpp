#include "tapes/HubPictures.h"

#include "tapes/CassetteDrawing.h"
#include "tapes/CassetteGeometry.h"

#include <QPainter>
#include <cmath>
#include <numbers>

namespace spindrel {

namespace {
constexpr int kPictures = 360 / HubPictures::degreesPerPicture;
// The rim's pen and antialiasing reach a little past the hub's diameter.
constexpr double kMargin = 1.5;
} // namespace

void HubPictures::reset(qreal devicePixelRatio, const QPointF& center)
{
    mDevicePixelRatio = devicePixelRatio;
    mCenter = center;
    const double reach = (CassetteGeometry::hubDiameter / 2.0 + kMargin) * devicePixelRatio;
    const QPointF pixelCenter = center * devicePixelRatio;
    mTopLeft = QPoint(static_cast<int>(std::floor(pixelCenter.x() - reach)),
                      static_cast<int>(std::floor(pixelCenter.y() - reach)));
    mSide = static_cast<int>(std::ceil(2.0 * reach)) + 2;
    mPictures.assign(kPictures, QImage());
}

HubPictures::Placed HubPictures::picture(const QPointF& center, double angleRadians, qreal devicePixelRatio)
{
    if (devicePixelRatio != mDevicePixelRatio || center != mCenter)
        reset(devicePixelRatio, center);
    const double degrees = angleRadians * 180.0 / std::numbers::pi;
    const long step = std::lround(degrees / degreesPerPicture);
    const auto index = static_cast<std::size_t>(((step % kPictures) + kPictures) % kPictures);
    QImage& picture = mPictures[index];
    if (picture.isNull()) {
        picture = QImage(mSide, mSide, QImage::Format_ARGB32_Premultiplied);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        CassetteDrawing::beginDrawing(painter);
        // Drawn where the hub falls within its pixels, so that a copy matches the drawing.
        painter.translate(-QPointF(mTopLeft));
        painter.scale(devicePixelRatio, devicePixelRatio);
        CassetteDrawing::drawHub(painter, center,
                                 double(index) * degreesPerPicture * std::numbers::pi / 180.0);
    }
    return {picture, mTopLeft};
}

} // namespace spindrel
