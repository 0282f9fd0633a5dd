#pragma once

#include "hud/ClickableHUDSubview.h"

#include <QColor>
#include <QVariantAnimation>
#include <array>

namespace spindrel {

/// The HUD's position bar of 34 segments: while playing one lit segment marks the position and
/// a click or drag seeks; while recording a light runs along the bar.
class PositionView : public ClickableHUDSubview
{
    Q_OBJECT
    Q_PROPERTY(double time READ time WRITE setTime NOTIFY timeChanged)
    Q_PROPERTY(double maxTime READ maxTime WRITE setMaxTime NOTIFY maxTimeChanged)
    Q_PROPERTY(bool recordingMode READ recordingMode WRITE setRecordingMode)

public:
    static constexpr int segmentCount = 34;
    static constexpr qreal segmentPitch = 4.0;
    static constexpr qreal firstSegment = 2.0;
    /// The width seeking maps onto the 34 segments.
    static constexpr qreal seekWidth = 136.0;
    static constexpr int fadeMilliseconds = 120;

    explicit PositionView(QWidget* parent = nullptr);

    /// Milliseconds.
    double time() const { return mTime; }
    void setTime(double time);
    double maxTime() const { return mMaxTime; }
    void setMaxTime(double maxTime);
    bool recordingMode() const { return mRecordingMode; }
    void setRecordingMode(bool recordingMode);

    /// The segment that marks the position while playing.
    int litSegment() const;
    /// The colour segment `index` is drawn in once any fade has ended.
    QColor segmentColor(int index) const;
    /// The time a click at `x` seeks to.
    double timeForPoint(qreal x) const;
    /// The time `segments` segments later (earlier, when negative) than now, on the segments'
    /// grid and within the tape.
    double steppedTime(int segments) const;

    QSize sizeHint() const override { return {140, 12}; }

Q_SIGNALS:
    void timeChanged();
    void maxTimeChanged();

protected:
    void pointerAt(const QPointF& point, bool dragging) override;
    void paintEvent(QPaintEvent* event) override;
    /// Left and Right seek a segment back and on, Page Up and Page Down five, Home and End to
    /// the ends of the tape; nothing while recording.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void litSegmentMayHaveMoved(int before);
    long runningLightPhase() const;

    double mTime = 0.0;
    double mMaxTime = 0.0;
    bool mRecordingMode = false;
    // The segment fading out while the new one fades in.
    int mFadingSegment = -1;
    QVariantAnimation mFade;
};

} // namespace spindrel
