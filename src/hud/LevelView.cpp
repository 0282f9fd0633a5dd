#include "hud/LevelView.h"

#include "hud/HUDDrawing.h"
#include "hud/HUDView.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

namespace spindrel {

namespace {

constexpr qreal segmentWidth = 4.0;
constexpr qreal segmentHeight = 12.0;
constexpr qreal segmentPitch = 6.0;
constexpr qreal labelWidth = 11.0;
// The labels sit between the rows; each row starts next to them.
constexpr qreal leftRowEnd = segmentPitch * LevelView::segmentCount; // right edge of the left row
constexpr qreal rightRowStart = leftRowEnd + 2.0 * labelWidth + 2.0;

} // namespace

LevelView::LevelView(QWidget* parent) : QWidget(parent) {}

void LevelView::setLevels(const StereoLevels& levels)
{
    if (levels == mLevels)
        return;
    const int leftBefore = litSegments(0);
    const int rightBefore = litSegments(1);
    mLevels = levels;
    // The meter is read many times a second; most readings light the same segments.
    if (litSegments(0) != leftBefore || litSegments(1) != rightBefore)
        update();
    Q_EMIT levelsChanged();
}

void LevelView::setStereo(bool stereo)
{
    if (stereo == mStereo)
        return;
    mStereo = stereo;
    update();
}

int LevelView::litSegmentsForLevel(double level)
{
    const double lit = std::rint(segmentCount * (level + 60.0) / 60.0);
    return static_cast<int>(std::clamp(lit, 0.0, static_cast<double>(segmentCount)));
}

int LevelView::litSegments(int row) const
{
    return litSegmentsForLevel(row == 0 || !mStereo ? mLevels.first : mLevels.second);
}

void LevelView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const qreal top = (height() - segmentHeight) / 2.0;
    for (int row = 0; row < 2; ++row) {
        const int lit = litSegments(row);
        for (int k = 0; k < segmentCount; ++k) {
            // Segment k counts from the labels outward.
            const qreal x =
                row == 0 ? leftRowEnd - segmentPitch * (k + 1) + 1.0 : rightRowStart + segmentPitch * k;
            const QColor color = k < lit ? HUDView::activeRecordColor() : HUDView::inactiveRecordColor();
            HUDDrawing::drawLitRect(painter, QRectF(x, top, segmentWidth, segmentHeight), color);
        }
    }
    const QColor labelColor = mStereo ? HUDView::activeRecordColor() : HUDView::inactiveRecordColor();
    const QFont font = HUDDrawing::labelFont(10.0);
    HUDDrawing::drawLitText(painter, QRectF(leftRowEnd + 1.0, 0, labelWidth, height()), Qt::AlignCenter,
                            QStringLiteral("L"), font, labelColor);
    HUDDrawing::drawLitText(painter, QRectF(leftRowEnd + 1.0 + labelWidth, 0, labelWidth, height()),
                            Qt::AlignCenter, QStringLiteral("R"), font, labelColor);
}

} // namespace spindrel
