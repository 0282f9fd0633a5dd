#pragma once

#include <QImage>
#include <QPoint>
#include <QPointF>
#include <vector>

namespace spindrel {

/// One cassette hub drawn once for every few degrees of turn, to be copied rather than drawn
/// at each reel step on screen. A picture stands for every angle within half a step of its own:
/// within a degree of the exact drawing, which cover art and movies keep. Each hub of a cassette
/// keeps its own, as each falls differently within its pixels.
class HubPictures
{
public:
    static constexpr int degreesPerPicture = 2;

    /// The picture of a hub turned by about `angleRadians`, at `devicePixelRatio`, and the top
    /// left pixel where it goes for a hub centred on `center` (in the cassette's natural units).
    struct Placed
    {
        const QImage& picture;
        QPoint topLeft;
    };
    Placed picture(const QPointF& center, double angleRadians, qreal devicePixelRatio);

private:
    void reset(qreal devicePixelRatio, const QPointF& center);

    qreal mDevicePixelRatio = 0.0;
    QPointF mCenter;
    QPoint mTopLeft;
    int mSide = 0;
    std::vector<QImage> mPictures;
};

} // namespace spindrel
