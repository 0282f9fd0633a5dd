#include "hud/PositionView.h"

#include "hud/HUDDrawing.h"
#include "hud/HUDView.h"

#include <QKeyEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace spindrel {

namespace {

// Five shades of the active colour, brightest first, for the running light.
const std::array<QColor, 5>& runningLightShades()
{
    static const std::array<QColor, 5> shades = [] {
        std::array<QColor, 5> made;
        for (int k = 5; k >= 1; --k) {
            QColor shade = HUDView::activeColor();
            shade.setAlphaF(static_cast<float>(0.2 + 0.8 * k / 5.0));
            made[static_cast<std::size_t>(5 - k)] = shade;
        }
        return made;
    }();
    return shades;
}

QColor blend(const QColor& from, const QColor& to, qreal amount)
{
    const auto mix = [amount](float a, float b) { return static_cast<float>(a + (b - a) * amount); };
    QColor color;
    color.setRgbF(mix(from.redF(), to.redF()), mix(from.greenF(), to.greenF()), mix(from.blueF(), to.blueF()),
                  mix(from.alphaF(), to.alphaF()));
    return color;
}

} // namespace

PositionView::PositionView(QWidget* parent) : ClickableHUDSubview(parent)
{
    mFade.setDuration(fadeMilliseconds);
    mFade.setStartValue(0.0);
    mFade.setEndValue(1.0);
    connect(&mFade, &QVariantAnimation::valueChanged, this, [this] { update(); });
}

void PositionView::setTime(double time)
{
    if (time == mTime)
        return;
    const int before = litSegment();
    const long phaseBefore = runningLightPhase();
    mTime = time;
    // The running light steps five times a second; the playback bar only when its segment moves.
    if (mRecordingMode && runningLightPhase() != phaseBefore)
        update();
    litSegmentMayHaveMoved(before);
    Q_EMIT timeChanged();
}

void PositionView::setMaxTime(double maxTime)
{
    if (maxTime == mMaxTime)
        return;
    const int before = litSegment();
    mMaxTime = maxTime;
    litSegmentMayHaveMoved(before);
    Q_EMIT maxTimeChanged();
}

void PositionView::setRecordingMode(bool recordingMode)
{
    mRecordingMode = recordingMode;
    setCursor(recordingMode ? Qt::ArrowCursor : Qt::PointingHandCursor);
    mFade.stop();
    mFadingSegment = -1;
    update();
}

void PositionView::litSegmentMayHaveMoved(int before)
{
    if (!mRecordingMode && before != litSegment()) {
        mFadingSegment = before;
        mFade.stop();
        mFade.start();
        update();
    }
}

long PositionView::runningLightPhase() const
{
    return std::lrint(mTime / 200.0);
}

int PositionView::litSegment() const
{
    if (mMaxTime <= 0.0)
        return 0;
    const double index = std::rint(mTime / mMaxTime * (segmentCount - 1));
    return static_cast<int>(std::clamp(index, 0.0, static_cast<double>(segmentCount - 1)));
}

QColor PositionView::segmentColor(int index) const
{
    if (mRecordingMode) {
        const long phase = runningLightPhase();
        const long shade = ((phase + 100 - index) % 5 + 5) % 5;
        return runningLightShades()[static_cast<std::size_t>(shade)];
    }
    return index == litSegment() ? HUDView::activeColor() : HUDView::inactiveColor();
}

double PositionView::timeForPoint(qreal x) const
{
    // Seeking divides by 34 while the display multiplies by 33: the far end of the bar seeks to
    // the very end of the tape.
    const double index = std::clamp(std::rint((x - firstSegment) / seekWidth * segmentCount), 0.0,
                                    static_cast<double>(segmentCount));
    return mMaxTime * index / segmentCount;
}

double PositionView::steppedTime(int segments) const
{
    if (mMaxTime <= 0.0)
        return mTime;
    const double step = mMaxTime / segmentCount;
    const double index = std::rint(mTime / step) + segments;
    return std::clamp(index * step, 0.0, mMaxTime);
}

void PositionView::keyPressEvent(QKeyEvent* event)
{
    int segments = 0;
    switch (event->key()) {
    case Qt::Key_Left:
        segments = -1;
        break;
    case Qt::Key_Right:
        segments = 1;
        break;
    case Qt::Key_PageUp:
        segments = -5;
        break;
    case Qt::Key_PageDown:
        segments = 5;
        break;
    case Qt::Key_Home:
        segments = -segmentCount;
        break;
    case Qt::Key_End:
        segments = segmentCount;
        break;
    default:
        ClickableHUDSubview::keyPressEvent(event);
        return;
    }
    if (!mRecordingMode)
        setTime(steppedTime(segments));
}

void PositionView::pointerAt(const QPointF& point, bool)
{
    if (mRecordingMode)
        return;
    setTime(timeForPoint(point.x()));
}

void PositionView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const qreal top = (height() - 10.0) / 2.0;
    const bool fading = mFade.state() == QAbstractAnimation::Running;
    const qreal progress = fading ? mFade.currentValue().toDouble() : 1.0;
    const int lit = litSegment();
    for (int i = 0; i < segmentCount; ++i) {
        QColor color = segmentColor(i);
        if (fading && !mRecordingMode) {
            if (i == lit)
                color = blend(HUDView::inactiveColor(), HUDView::activeColor(), progress);
            else if (i == mFadingSegment)
                color = blend(HUDView::activeColor(), HUDView::inactiveColor(), progress);
        }
        HUDDrawing::drawLitRect(painter, QRectF(firstSegment + segmentPitch * i, top, 3.0, 10.0), color);
    }
}

} // namespace spindrel
